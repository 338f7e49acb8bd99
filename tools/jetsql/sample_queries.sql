SELECT TI.TrainID AS 编号, S.科目名称, TI.StartDate AS 开始时间, Sum(TR.QuestionScore) AS 总分, Sum(TR.AnswerScore) AS 得分
    FROM TrainInfo TI, TrainResult TR, 科目 S
    WHERE TI.TrainID = TR.TrainID And S.科目代码 = TI.SubjectCode
    GROUP BY TI.TrainID, S.科目名称, TI.StartDate
    ORDER BY TI.StartDate DESC;
