Dim d, q, k, f, items, message, bytes, item, names, ok
Set d = CreateObject("QmTrainInfo.DataInfo")
d.IsNet = False
d.TotalPath = Folder
Check "InitDb", d.InitDb, True
Check "LoadFromDataCode", d.LoadFromDataCode("D1", 24), True
Check "LoadFromDataCode, none", d.LoadFromDataCode("D9", 24), False
Check "entry", d.DataCode & "|" & d.Description & "|" & d.MdbName & "|" & d.SubjectCode & "|" & d.TotalPath & "|" & _
    CInt(d.IsNet) & "|" & d.LocalMdbPath, "D1|First|D1.mdb|24|" & Folder & "|0|"
d.IsNet = True
d.LocalMdbPath = Folder & "\Paper.mdb"
d.DataCode = "a": d.Description = "b": d.MdbName = "c": d.SubjectCode = 4
Check "entry set", d.DataCode & d.Description & d.MdbName & d.SubjectCode & CInt(d.IsNet) & d.LocalMdbPath, _
    "abc4-1" & Folder & "\Paper.mdb"
On Error Resume Next
d.LocalMdbPath = Folder & "\none.mdb"
Check "LocalMdbPath refuses", Err.Number, CLng(vbObjectError + 1)
Err.Clear
On Error GoTo 0

Set q = CreateObject("QmTrainInfo.QuestionItem")
Check "a new question", q.QuestionType & q.Title & q.Answer & CInt(q.IsTheory) & CInt(q.IsNet) & q.RecNo & _
    q.DataCode & q.DataMdbPath & q.LocalPaperMdb & q.SubjectCode, "000"
CheckTrue "no options", q.ChoiceItems Is Nothing
q.IsNet = True
q.LocalPaperMdb = Folder & "\Paper.mdb"
q.DataCode = "D1"
q.SubjectCode = 24
q.RecNo = "0001001"
message = "untouched"
Check "InitQuestionItem", q.InitQuestionItem(message), True
Check "strErr", message, "untouched"
Check "Title", q.Title, "one plus one"
Check "Answer", q.Answer, "2"
Check "QuestionType", q.QuestionType, "单选题"
Check "IsTheory", q.IsTheory, True
Check "options", q.ChoiceItems.Count, CLng(2)
Check "an option by its letter", q.ChoiceItems("B"), "two"
Check "by place", q.ChoiceItems.Item(1), "one"
names = ""
For Each item In q.ChoiceItems
    names = names & item & ","
Next
Check "For Each", names, "one,two,"
Set items = q.ChoiceItems
items.Add "three", "C"
Check "Add", q.ChoiceItems("c"), "three"
Check "Key", items.Key(1) & items.Key(3), "AC"
items.Remove "A"
Check "Remove", items.Count, CLng(2)
On Error Resume Next
items.Add "again", "C"
Check "the key is there", Err.Number, CLng(457)
Err.Clear
ok = items("Z")
Check "the key is not there", Err.Number, CLng(5)
Err.Clear
ok = items(7)
Check "the place is not there", Err.Number, CLng(9)
Err.Clear
On Error GoTo 0

Dim other
Set other = CreateObject("QmTrainInfo.QuestionItem")
Set other.ChoiceItems = items
CheckTrue "the same options", other.ChoiceItems Is items
Set other.ChoiceItems = Nothing
CheckTrue "no options again", other.ChoiceItems Is Nothing

q.RecNo = "0005001"
Check "an operation question", q.InitQuestionItem(message), True
q.GetInitDocBin bytes
Check "GetInitDocBin", VarType(bytes), CInt(8192 + 17)
other.SetInitDocBin bytes
other.SetResultDocBin bytes
Dim copied
other.GetResultDocBin copied
Check "SetResultDocBin", VarType(copied), CInt(8192 + 17)
other.SetInitDocBin Array(1, 2, 3, 4)
other.GetInitDocBin copied
Check "SetInitDocBin of numbers", VarType(copied), CInt(8192 + 17)
q.GetResultDocBin bytes
Check "an absent document", VarType(bytes), CInt(8192 + 17)

q.RecNo = "9"
Check "no question", q.InitQuestionItem(message), False
CheckTrue "with a message", Len(message) > 9
q.QuestionType = "a": q.Title = "b": q.Answer = "c": q.IsTheory = False: q.DataMdbPath = "e": q.RecNo = "f"
Check "question's properties", q.QuestionType & q.Title & q.Answer & CInt(q.IsTheory) & q.DataMdbPath & q.RecNo, _
    "abc0ef"

Set k = CreateObject("QmTrainInfo.QuestionType")
k.ClientPath = Folder
k.Init 1
Check "QuestionType", k.TypeCode & "|" & k.Description & "|" & k.AppExeName & "|" & k.ClientPath, "1|" & _
    "单选题" & "|start.exe|" & Folder
k.TypeCode = 2: k.Description = "a": k.AppExeName = "b"
Check "QuestionType set", k.TypeCode & k.Description & k.AppExeName, "2ab"
k.Init 99
Check "no such type", k.TypeCode, CLng(-1)

Set f = CreateObject("QmTrainInfo.FillAnswer")
f.InitClass "a#b@c"
Check "FillAnswer.Answer", f.Answer, "a#b@c"
Check "GetFillCount", f.GetFillCount, CLng(2)
Dim accepted
Check "GetAnswer", f.GetAnswer(1, accepted), True
Check "accepted answers", Listed(accepted), "a|b"
Check "GetAnswer, none", f.GetAnswer(3, accepted), False
Check "untouched", Listed(accepted), "a|b"
f.Answer = "x"
Check "ToString", f.ToString, "答案：[x]"
On Error Resume Next
ok = f.GetAnswer(0, accepted)
Check "GetAnswer of 0", Err.Number, CLng(9)
Err.Clear
On Error GoTo 0
Dim fixed(1), unset
fixed(0) = Null
Set fixed(1) = Nothing
f.Answer = "x#y"
Check "GetAnswer into an array of the right size", f.GetAnswer(1, fixed), True
Check "its elements", Listed(fixed), "x|y"
Check "GetAnswer of a blank that there is not", f.GetAnswer(2, unset), False
CheckTrue "leaves the variable", IsEmpty(unset)
unset = "text"
Check "GetAnswer into a variable with a text", f.GetAnswer(1, unset), True
Check "its answers", Listed(unset), "x|y"
Set unset = f
Check "GetAnswer into a variable with an object", f.GetAnswer(1, unset), True
On Error Resume Next
f.Answer = "x#y#z"
ok = f.GetAnswer(1, fixed)
Check "GetAnswer into an array of another size", Err.Number, CLng(10)
Err.Clear
Check "which stays", Listed(fixed), "x|y"
q.QuestionTyp = 1
Check "an unknown property", Err.Number, CLng(438)
Err.Clear
ok = d.DataCode(1)
Check "an argument for a property that takes none", Err.Number, CLng(450)
Err.Clear
f.Answer = Nothing
Check "Nothing for a text", Err.Number, CLng(91)
Err.Clear
On Error GoTo 0

' A collection of the host's own.
Class Options
    Public Default Function Item(key)
        Item = "option " & key
    End Function
End Class
Dim own
Set own = New Options
Set q.ChoiceItems = own
CheckTrue "the host's own collection", q.ChoiceItems Is own
Check "its items", q.ChoiceItems("B"), "option B"
Set q.ChoiceItems = Nothing
CheckTrue "no collection", q.ChoiceItems Is Nothing
Finish
