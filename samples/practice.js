// A host in JScript: records a practice and lists the history.
//
//   cscript //nologo practice.js FOLDER
//
// FOLDER holds Client.mdb. JScript passes no variable by reference, so the message of Init stays in the component's log.
var UserId = 1;
var SubjectCode = 24;

if (WScript.Arguments.length !== 1) {
    WScript.Echo("用法：cscript //nologo practice.js 文件夹");
    WScript.Quit(2);
}
var folder = WScript.Arguments(0);

var train = new ActiveXObject("QmTrainInfo.TrainInfo");
try {
    train.ClientPath = folder;
} catch (error) {
    WScript.Echo(error.description);
    WScript.Quit(1);
}
if (!train.Init("")) {
    WScript.Echo("数据库不能打开，原因见日志。");
    WScript.Quit(1);
}

// Dates are days since 1899-12-30, local time.
function daysOf(date) {
    return (date.getTime() / 60000 - date.getTimezoneOffset()) / 1440 + 25569;
}
var now = daysOf(new Date());
var id = train.AddNewTrain(now - 1 / 24, UserId, 3, 0, SubjectCode);
if (id === -1) {
    WScript.Echo("训练没有记录，原因见日志。");
    WScript.Quit(1);
}
var result = new ActiveXObject("QmTrainInfo.TrainResult");
result.ClientPath = folder;
result.Add(id, 1, "D1", "0001001", 2, 2, "2", "", "", 1, 1, 1);
train.Update(id, now, 2);
WScript.Echo("训练号 " + id + " 已记录。");

train.UserId = UserId;
train.SubjectCode = SubjectCode;
WScript.Echo("训练次数：" + train.GetTrainTimes());
var rows = train.GetRecordset("");
for (; !rows.EOF; rows.MoveNext()) {
    WScript.Echo(rows.Fields("TrainID").Value + "  " + rows.Fields("GetScore").Value + "/" + rows.Fields("PaperScore").Value);
}
rows.Close();
