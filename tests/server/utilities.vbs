Dim u, items, found
Set u = CreateObject("QmTrainInfo.Utilities")

u.CreateLog 7, "from a script", "Utilities.vbs"
Check "InStrRevVb5", u.InStrRevVb5("abcabc", "bc", -1, 0), CLng(5)
Check "InStrRevVb5, none", u.InStrRevVb5("abc", "x", -1, 0), CInt(0)
Check "InStrRevVb5, longer", u.InStrRevVb5("ab", "abc", -1, 0), Empty
Check "InStrRevVb5, arguments left out", u.InStrRevVb5("abcabc", "bc"), CLng(5)
Check "instrrevvb5, another case", u.instrrevVB5("abcABC", "bc", -1, 1), CLng(5)

Check "SplitVB5", u.SplitVB5("a,b,c,d", ",", items, 2, 0), Empty
Check "SplitVB5, items", UBound(items), CLng(1)
Check "SplitVB5, first", items(0), "a"
Check "SplitVB5, second", items(1), "b"
u.SplitVB5 "a::b", "::", items, -1, 0
Check "SplitVB5 again", Listed(items), "a|:b"
u.SplitVB5 "x;y", ";", items
Check "SplitVB5, arguments left out", Listed(items), "x|y"

Check "LTrimStr", u.LTrimStr("XxXabc", "x"), "abc"
Check "RTrimStr", u.RTrimStr("abcxx", "x"), "abc"
Check "ReplaceStr", u.ReplaceStr("aaa", "a", "aa", 0), "aaaaaa"
Check "ReplaceStr, line break", u.ReplaceStr("a,b", ",", "^p", 0), "a" & vbCrLf & "b"
Check "DeleteRtfTxtColorMark", u.DeleteRtfTxtColorMark("{\rtf{\colortbl\red0\green0\blue0;}x}"), "{\rtfx}"
Check "GetChoiceAnswerString", u.GetChoiceAnswerString(5), "AC"
Check "GetChoiceAnswerString, none", u.GetChoiceAnswerString(0), Empty
Check "GetChoiceAnswerString, a text", u.GetChoiceAnswerString("10"), "BD"

' Whatever has a Close is closed, and the variable emptied.
Dim train, rows, held
Set train = CreateObject("QmTrainInfo.TrainInfo")
train.ClientPath = Folder
Check "Init", train.Init(found), True
Set rows = train.GetRecordset("Select * From Notes")
Set held = rows
u.CloseAdoObject held
CheckTrue "CloseAdoObject empties the variable", held Is Nothing
u.CloseAdoObject held

On Error Resume Next
found = rows.EOF
Check "CloseAdoObject closes", Err.Number, CLng(3420)
Err.Clear
found = u.RTrimStr("aa", "a")
Check "RTrimStr raises", Err.Number, CLng(5)
CheckTrue "with a description", Len(Err.Description) > 0
Check "and a source", Err.Source, "QmTrainInfo"
Err.Clear
found = u.LTrimStr(Null, "a")
Check "a Null for a text", Err.Number, CLng(94)
Err.Clear
found = u.GetChoiceAnswerString("many")
Check "a text for a number", Err.Number, CLng(13)
Err.Clear
found = u.NoSuchMember
Check "an unknown member", Err.Number, CLng(438)
Err.Clear
found = u.LTrimStr("a")
CheckTrue "an argument missing", Err.Number <> 0
Err.Clear
On Error GoTo 0
Finish
