Dim t, r, s, w, message, i, id, rate, low, high, ok
Set t = CreateObject("QmTrainInfo.TrainInfo")
Set r = CreateObject("QmTrainInfo.TrainResult")
Set s = CreateObject("QmTrainInfo.TrainStatistics")
Set w = CreateObject("QmTrainInfo.WrongQuestions")

' New objects have the documented values.
Check "statistics", s.ClientPath & s.UserId & s.SubjectCode & s.TrainTimes & s.ItemCount, "-1-100"
Check "wrong questions", w.ClientPath & w.UserId & w.SubjectCode & w.DataCode & w.QuestionType & w.LeastTimes & _
    CInt(w.OnlyOpen) & w.Count, "-1-1-1100"
Check "no limits", CDbl(s.StartDate) + CDbl(s.EndDate) + CDbl(w.StartDate) + CDbl(w.EndDate), CDbl(0)
On Error Resume Next
s.ClientPath = Folder & "\none"
CheckError "ClientPath refuses", vbObjectError + 1, "QmTrainInfo", "路径[" & Folder & _
    "\none]错误,路径下不存在Client.mdb数据库"
On Error GoTo 0
Check "Load without a database", s.Load(), False

' Six papers of two questions; the first question is wrong every time but the last, the second in part the first time.
t.ClientPath = Folder
r.ClientPath = Folder
Check "Init", t.Init(message), True
For i = 1 To 6
    id = t.AddNewTrain(CDate("2024-05-01 08:00:00") + i, 1, 3, 0, 24)
    ok = r.Add(id, 1, "D1", "000001", 6, 0, "2", "", "", 1, 1, 1)
    If i = 6 Then ok = r.Update(id, "D1", "000001", 6, "2", "", "") Else ok = r.Update(id, "D1", "000001", 0, "4", "x", "")
    ok = r.Add(id, 1, "D1", "000002", 4, 0, "1", "", "", 1, 3, 2)
    If i = 1 Then ok = r.Update(id, "D1", "000002", 2, "8", "", "") Else ok = r.Update(id, "D1", "000002", 4, "1", "", "")
Next

Function Hundredths(rate)
    Hundredths = Int(CDbl(rate) * 100 + 0.5) / 100
End Function

s.ClientPath = Folder: s.UserId = 1: s.SubjectCode = 24
Check "Init of statistics", s.Init(message), True
Check "Load", s.Load(), True
Check "TrainTimes", s.TrainTimes, CLng(6)
Check "PassTimes", s.PassTimes, CLng(1)
Check "QuestionTimes", s.QuestionTimes, CLng(12)
Check "AverageRate", Hundredths(s.AverageRate), 46.67
Check "BestRate", s.BestRate, CSng(100)
Check "LastRate", s.LastRate, CSng(100)
CheckTrue "Trend", s.Trend > 5
Check "Forecast", s.Forecast(rate, low, high), True
CheckTrue "between its bounds", low < rate And rate < high
Check "GroupCount", s.GroupCount(4), CLng(2)
Check "GroupName", s.GroupName(4, 2), "难度 3"
Check "GroupTimes", s.GroupTimes(4, 2), CLng(6)
Check "GroupRate", Hundredths(s.GroupRate(4, 2)), 91.67
Check "no such group", s.GroupName(4, 3), ""
Check "ItemCount", s.ItemCount, CLng(2)
Check "an item", s.ItemDataCode(1) & s.ItemRecNo(1) & s.ItemTimes(1), "D10000016"
Check "ItemFacility", Hundredths(s.ItemFacility(1)), 16.67
CheckTrue "ItemDiscrimination", s.ItemDiscrimination(1) > 0
s.Exclude id
Check "Load again", s.Load(), True
Check "one paper less", s.TrainTimes & s.PassTimes, "50"
s.StartDate = CDate("2024-05-03"): s.EndDate = CDate("2024-05-04")
Check "in a period", s.Load(), True
Check "two of them", s.TrainTimes, CLng(2)
rate = "untouched"
Check "too few for a forecast", s.Forecast(CSng(1), low, high), False

w.ClientPath = Folder: w.UserId = 1: w.SubjectCode = 24: w.DataCode = "d1": w.QuestionType = 1
Check "Init of wrong questions", w.Init(message), True
Check "both", w.Load(), CLng(2)
Check "Count", w.Count, CLng(2)
Check "LoadItem", w.LoadItem(1), True
Check "the item", w.ItemDataCode & w.ItemRecNo & w.ItemSubjectCode & w.ItemType & w.ItemTimes & w.ItemWrongTimes, _
    "D10000012416" & "5"
Check "ItemLastDate", w.ItemLastDate, CDate("2024-05-06 08:00:00")
Check "ItemTrainID", w.ItemTrainID, id - 1
Check "ItemRightSince", w.ItemRightSince, True
Check "its scores", w.ItemScore & w.ItemStudentScore, "60"
Check "its answers", w.ItemAnswer & w.ItemStudentAnswer, "24"
Check "no such item", w.LoadItem(3), False
w.LeastTimes = 2
Check "twice or more", w.Load(), CLng(1)
w.OnlyOpen = True
Check "open ones", w.Load(), CLng(0)
w.OnlyOpen = False: w.LeastTimes = 1: w.StartDate = CDate("2024-05-03"): w.EndDate = CDate("2024-05-09")
Check "in a period", w.Load(), CLng(1)
Check "Remove", w.Remove(24, "D1", "000001"), True
Check "gone", w.Load(), CLng(0)
Check "Restore", w.Restore(24, "D1", "000001"), True
Check "back", w.Load(), CLng(1)
Finish
