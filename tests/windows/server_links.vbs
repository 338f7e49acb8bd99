' Data objects over links to a server, for server_links.sh, which runs it after practice.vbs.
Option Explicit

Dim engine, file, database, rows, link
Set engine = CreateObject("QmTrainInfo.DBEngine")
engine.LoginTimeout = 5
file = WScript.Arguments(0) & "\Client.mdb"

Set database = engine.OpenDatabase(file, False, False, "ODBC;UID=student;PWD=student")
Set rows = database.OpenRecordset("SELECT * FROM TrainResult WHERE QuestionRecNo='0001002' ORDER BY TrainID")
WScript.Echo rows("ErrInfo")
rows.Edit
rows("ErrInfo") = "改过了"
rows.Update
rows.AddNew
rows("TrainID") = 2
rows("QuestionRecNo") = "0001009"
rows("Answer") = "新"
rows.Update
rows.Close
Set rows = database.OpenRecordset("SELECT ErrInfo FROM TrainResult WHERE TrainID=1 AND QuestionRecNo='0001002'")
WScript.Echo rows("ErrInfo")
rows.Close
database.Close

Set database = engine.OpenDatabase(file, False, False, "ODBC;UID=student;PWD=wrong")
On Error Resume Next
database.OpenRecordset "TrainResult"
WScript.Echo Err.Number And &HFFFF&
On Error GoTo 0
database.Close

Set database = engine.OpenDatabase(file, False, False, "ODBC;UID=student;PWD=student")
Set link = database.TableDefs("TrainResult")
link.RefreshLink
Set rows = database.OpenRecordset("SELECT Count(*) AS N FROM TrainResult WHERE Answer <> '新'")
WScript.Echo "新的链接：" & rows("N")
rows.Close
database.Close
WScript.Echo "完"
