Dim n, m, rs, message, counted, w
Set n = CreateObject("QmTrainInfo.Note")
Check "a new note", n.ClientPath & n.NoteID & n.Name & CInt(n.IsShared) & n.Content & n.ViewTimes & n.DataCode & _
    n.QuestionRecNo & n.UserId & n.mSubjectCode, "00000"
Check "CreateDate", n.CreateDate, CDate(0)
n.ClientPath = Folder
Check "Init", n.Init(message), True
Check "Add", n.Add(24, "D1", "0001001", "name", "content", True, 1), True
Check "Add again", n.Add(24, "D1", "0001001", "name", "content", True, 1), False
n.UserId = 1
n.mSubjectCode = 24
Check "GetNotesCount", n.GetNotesCount, CLng(1)
Check "IsExistNote", n.IsExistNote("D1", 24, "0001001", 1), True
Check "IsExistNote, none", n.IsExistNote("D1", 24, "0001002", 1), False
counted = True
n.LoadFromOther "D1", "0001001", 24, counted, 1
Check "LoadFromOther", n.NoteID & "|" & n.Name & "|" & n.Content & "|" & CInt(n.IsShared) & "|" & n.DataCode & "|" & _
    n.QuestionRecNo & "|" & n.mSubjectCode, "1|name|content|-1|D1|0001001|24"
Check "blnTimes keeps its value", counted, True
Check "ViewTimes", n.ViewTimes, CLng(1)
CheckTrue "CreateDate is today", Abs(CDbl(n.CreateDate) - CDbl(Now)) <= 1
Set m = CreateObject("QmTrainInfo.Note")
m.ClientPath = Folder
m.Init message
Check "LoadFromID", m.LoadFromID(1, False, 1), True
Check "LoadFromID, none", m.LoadFromID(9, False, 1), False
Check "then", m.NoteID, CLng(-1)
m.LoadFromID 1, False, 1
m.Name = "笔记": m.Content = "it's": m.IsShared = False: m.ViewTimes = 7
Check "Update", m.Update, True
n.LoadFromID 1, False, -1
Check "updated", n.Name & n.Content & CInt(n.IsShared), "笔记it's0"
Set rs = n.GetRecordset("Select Count(*) As Notes From Notes")
Check "GetRecordset", rs("Notes").Value, CLng(1)
rs.Close
Check "Delete", n.Delete(1), True
Check "Delete, none", n.Delete(1), False
n.NoteID = 1: n.DataCode = "a": n.QuestionRecNo = "b": n.UserId = 2: n.mSubjectCode = 3
Check "note's properties", n.NoteID & n.DataCode & n.QuestionRecNo & n.UserId & n.mSubjectCode, "1ab23"

' The two classes of windows, without their windows.
Set w = CreateObject("QmTrainInfo.UIManageNotes")
w.DataMdbPath = "a": w.ClientPath = "b": w.TotalPath = "c": w.LocalPaperPath = "d": w.IsNet = True
w.SubjectCode = 24: w.UserId = 1
Check "UIManageNotes", w.DataMdbPath & w.ClientPath & w.TotalPath & w.LocalPaperPath & CInt(w.IsNet) & w.SubjectCode & _
    w.UserId, "abcd-1241"
Set w = CreateObject("QmTrainInfo.UITrain")
w.LocalPaperMdbPath = "a": w.ClientPath = "b": w.DataMdbPath = "c": w.IsNet = True: w.UserId = 1: w.SubjectCode = 24
Check "UITrain", w.LocalPaperMdbPath & w.ClientPath & w.DataMdbPath & CInt(w.IsNet) & w.UserId & w.SubjectCode, "abc-1124"
Finish
