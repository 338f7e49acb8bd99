Dim t, r, n, s, rs, message, id, user, started, field, names, ok
Set t = CreateObject("QmTrainInfo.TrainInfo")
Set r = CreateObject("QmTrainInfo.TrainResult")

' A folder without a client database is refused; the message comes through Init, too.
On Error Resume Next
t.ClientPath = Folder & "\none"
CheckError "ClientPath refuses", vbObjectError + 1, "QmTrainInfo", "路径[" & Folder & _
    "\none]错误,路径下不存在Client.mdb数据库"
On Error GoTo 0
Check "ClientPath keeps its value", t.ClientPath, ""
Check "Init without a folder", t.Init(message), False
CheckTrue "Init tells why", Len(message) > 0

t.ClientPath = Folder
Check "ClientPath set", t.ClientPath, Folder
message = "untouched"
Check "Init", t.Init(message), True
user = 1
started = CDate("2024-05-06 07:08:09")
id = t.AddNewTrain(started, user, 3, 4, 24)
Check "AddNewTrain", id, CLng(1)
Check "AddNewTrain, again", t.AddNewTrain(started, 1, 5, 0, 24), CLng(2)

Check "Add", r.Add(id, 1, "T", "000001", 1, 0, "1", "e", "x", 1, 2, 1), False
r.ClientPath = Folder
Check "TrainResult.ClientPath", r.ClientPath, Folder
Check "Add a result", r.Add(id, 1, "D1", "0001001", 2.5, 1.5, "1", "e", "<x/>", 1, 2, 1), True
Check "Add another", r.Add(id, 2, "D1", "0002001", 3, 3, "3", "", "", 0, 1, 2), True
Check "TrainResult.Update", r.Update(id, "D1", "0001001", 2, "2", "wrong", "<y/>"), True
Check "TrainResult.Update, none", r.Update(id, "D1", "9", 2, "2", "", ""), False
Check "LoadTrainResultItem", r.LoadTrainResultItem(id, "D1", "0001001"), True
Check "QuestionScore", r.QuestionScore, CSng(2.5)
Check "StudentScore", r.StudentScore, CSng(2)
Check "ErrInfo", r.ErrInfo, "wrong"
Check "ErrInfoXml", r.ErrInfoXml, "<y/>"
Check "StudentAnswer", r.StudentAnswer, "2"
Check "result's TrainID", r.TrainID, CLng(1)
Check "Distin", r.Distin, CLng(1)
Check "Difficult", r.Difficult, CLng(2)
r.QuestionScore = 1: r.StudentScore = 0.5: r.ErrInfo = "a": r.ErrInfoXml = "b": r.StudentAnswer = "c"
r.TrainID = 7: r.Distin = 8: r.Difficult = 9
Check "result's properties", r.QuestionScore & r.StudentScore & r.ErrInfo & r.ErrInfoXml & r.StudentAnswer & _
    r.TrainID & r.Distin & r.Difficult, "1" & CStr(0.5) & "abc789"

Check "Update", t.Update(id, started + 61 / 86400, 4.5), True
Check "Update, none", t.Update(99, started, 1), False
t.LoadFromID id
Check "loaded TrainID", t.TrainID, CLng(1)
Check "loaded startDate", t.startDate, started
Check "loaded endDate", t.endDate, started + 61 / 86400
Check "loaded UserTime", t.UserTime, CLng(61)
Check "loaded TheoryNo", t.TheoryNo, CLng(3)
Check "loaded OperationNo", t.OperationNo, CLng(4)
Check "TrainScore", t.TrainScore, CSng(5.5)
Check "TrainUser's name", t.TrainUser.UserName, "考生"
Check "TrainUser's number", t.TrainUser.UserExameID, "2024001"
Check "TrainSubject", t.TrainSubject.Brief, "C"
Check "the subject's number is a text", t.TrainSubject.SubjectCode, "24"
CheckTrue "the same object each time", t.TrainUser Is t.TrainUser
t.UserTime = 5: t.AnswerScore = 1.5: t.TrainID = 6: t.SubjectCode = 24: t.UserId = 1
t.startDate = started: t.endDate = started
Check "training's properties", t.UserTime & t.AnswerScore & t.TrainID & t.SubjectCode & t.UserId, "5" & CStr(1.5) & "6241"
Check "GetTrainTimes", t.GetTrainTimes, CLng(2)

' A record set has DAO's members.
Set rs = t.GetRecordset("")
Check "EOF", rs.EOF, False
Check "BOF", rs.BOF, False
Check "a field's Value", rs.Fields("TrainID").Value, CLng(1)
Check "a field's default", CLng(rs.Fields("TrainID")), CLng(1)
Check "the record set's default", CLng(rs("trainid")), CLng(1)
Check "by place", rs.Fields(0).Name, "TrainID"
Check "a date", rs("StartDate").Value, started
Check "a sum", CDbl(rs("PaperScore")), CDbl(5.5)
names = ""
For Each field In rs.Fields
    names = names & field.Name & " "
Next
Check "For Each", names, "TrainID UserId StartDate EndDate UseTime TheoryNo OperationNo PaperScore GetScore "
Check "Count", rs.Fields.Count, CLng(9)
rs.MoveNext
Check "EOF after the last", rs.EOF, True
rs.Close
On Error Resume Next
ok = rs.EOF
Check "closed", Err.Number, CLng(3420)
Err.Clear
On Error GoTo 0
CheckTrue "no record set for a bad select", t.GetRecordset("Select nonsense") Is Nothing

Set rs = t.GetRecordset("Select * From Tbl_SetUser Order By UserID")
rs.AddNew
rs("UserID") = 9
rs.Fields("UserID").Value = 10
rs.Update
rs.MoveLast
Check "RecordCount", rs.RecordCount, CLng(2)
Check "added", rs("UserID").Value, CLng(10)
Check "a Null", rs.Fields(1).Value, Null
CheckTrue "Updatable", rs.Updatable
rs.Edit
rs.Fields(1) = "edited"
rs.CancelUpdate
Check "cancelled", rs.Fields(1).Value, Null
rs.Edit
rs.Fields(1) = "edited"
rs.Update
Check "edited", CStr(rs(1)), "edited"
Dim place
place = rs.Bookmark
rs.MoveFirst
Check "first", rs("UserID").Value, CLng(1)
rs.Bookmark = place
Check "back", rs("UserID").Value, CLng(10)
rs.MovePrevious
rs.Move 1
Check "moved", rs("UserID").Value, CLng(10)
rs.FindFirst "UserID=1"
Check "NoMatch", rs.NoMatch, False
Check "found", rs("UserID").Value, CLng(1)
rs.FindNext "UserID=1"
Check "NoMatch, next", rs.NoMatch, True
rs.MoveLast
rs.Delete
rs.MoveFirst
Check "Type", rs.Fields(1).Type, CInt(10)
Check "Size", rs.Fields(1).Size, CLng(50)
rs.Close
Set rs = t.GetRecordset("Select Count(*) As Users From Tbl_SetUser")
Check "deleted", rs("Users").Value, CLng(1)
rs.Close

Set rs = r.GetRecordset(id)
Check "results of a training", rs("QuestionRecNo").Value, "0001001"
rs.Close

' The candidate and the subject.
Set n = CreateObject("QmTrainInfo.NCREUser")
n.ClientPath = Folder
n.Init 1
Check "NCREUser", n.ClientPath & "|" & n.UserExameID & "|" & n.UserName & "|" & n.UserId, _
    Folder & "|2024001|" & "考生" & "|1"
n.UserExameID = "x": n.UserName = "y": n.UserId = 3
Check "NCREUser set", n.UserExameID & n.UserName & n.UserId, "xy3"
Set s = CreateObject("QmTrainInfo.SubjectInfo")
s.ClientPath = Folder
s.Init 24
Check "SubjectInfo", s.ClientPath & "|" & s.SubjectCode & "|" & s.Brief & "|" & s.StudentKnow & "|" & s.Description, _
    Folder & "|24|C|know|described"
s.Brief = "a": s.StudentKnow = "b": s.Description = "c": s.SubjectCode = "25"
Check "SubjectInfo set", s.Brief & s.StudentKnow & s.Description & s.SubjectCode, "abc25"
On Error Resume Next
s.SubjectCode = "many"
Check "no number", Err.Number, CLng(13)
Err.Clear
n.ClientPath = Folder & "\none"
CheckTrue "NCREUser.ClientPath refuses", Err.Number = vbObjectError + 1
Err.Clear
On Error GoTo 0
Finish
