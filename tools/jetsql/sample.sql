CREATE TABLE TrainInfo (
    TrainID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY,
    UserID LONG, SubjectCode LONG, StartDate DATETIME, EndDate DATETIME,
    UseTime LONG, TheoryNo LONG, OperationNo LONG);
CREATE TABLE TrainResult (
    TrainResultID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY,
    TrainID LONG CONSTRAINT TrainInfoTrainResult REFERENCES TrainInfo (TrainID),
    DataCode TEXT(20), QuestionRecNo TEXT(20), QuestionScore SINGLE, AnswerScore SINGLE, StudentAnswer MEMO);
CREATE TABLE 科目 (科目代码 LONG CONSTRAINT PrimaryKey PRIMARY KEY, 科目名称 TEXT(50) NOT NULL);
CREATE UNIQUE INDEX 按名称 ON 科目 (科目名称);
INSERT INTO 科目 VALUES (24, '二级 C 语言程序设计');
INSERT INTO 科目 VALUES (35, '三级数据库技术');
INSERT INTO TrainInfo (UserID, SubjectCode, StartDate, EndDate, UseTime, TheoryNo, OperationNo)
    VALUES (1, 24, #2005-04-12 09:00:00#, #2005-04-12 10:02:05#, 3725, 3, 0);
INSERT INTO TrainInfo (UserID, SubjectCode, StartDate, EndDate, UseTime, TheoryNo, OperationNo)
    VALUES (1, 35, #2005-04-13 14:30:00#, #2005-04-13 15:10:00#, 2400, 0, 2);
INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo, QuestionScore, AnswerScore, StudentAnswer)
    VALUES (1, 'C2', '00010001', 2, 2, 'B');
INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo, QuestionScore, AnswerScore, StudentAnswer)
    VALUES (1, 'C2', '00040007', 4, 1.5, '栈@队列');
INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo, QuestionScore, AnswerScore, StudentAnswer)
    VALUES (2, 'DB3', '00010003', 2, 0, 'D');
