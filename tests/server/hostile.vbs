' What a script may pass by mistake: each row is a value and the errors that it gives for a text, a Long, an array that is
' read, an array that is filled, an object.
Dim u, f, q, texts
Set u = CreateObject("QmTrainInfo.Utilities")
Set q = CreateObject("QmTrainInfo.QuestionItem")
Set f = CreateObject("QmTrainInfo.FillAnswer")
f.Answer = "x#y"
texts = Array("a text", "a Long", "an array that is read", "an array that is filled", "an object")

Function ErrorFor(place, ByRef passed)
    Dim ignored
    On Error Resume Next
    Select Case place
        Case 0: ignored = u.LTrimStr(passed, "a")
        Case 1: ignored = u.GetChoiceAnswerString(passed)
        Case 2: q.SetInitDocBin passed
        Case 3: ignored = f.GetAnswer(1, passed)
        Case 4: u.CloseAdoObject passed
    End Select
    ErrorFor = Err.Number
    Err.Clear
End Function

Sub Row(name, passed, expected)
    Dim place, held
    For place = 0 To 4
        If IsObject(passed) Then
            Set held = passed
        Else
            held = passed
        End If
        Check name & " for " & texts(place), CLng(ErrorFor(place, held)), CLng(expected(place))
    Next
End Sub

Row "Empty", Empty, Array(0, 0, 0, 0, 13)
Row "Null", Null, Array(94, 94, 13, 0, 94)
Row "Nothing", Nothing, Array(91, 91, 13, 0, 0)
Row "12", "12", Array(0, 0, 13, 0, 13)
Row "many", "many", Array(0, 13, 13, 0, 13)
Row "True", True, Array(0, 0, 13, 0, 13)
Row "1E300", 1E300, Array(0, 6, 13, 0, 13)
Row "numbers", Array(1, 2), Array(13, 13, 0, 0, 13)
Row "texts", Array("1", "x"), Array(13, 13, 13, 0, 13)
Row "no bytes", Array(1, 256), Array(13, 13, 13, 0, 13)
Row "an object", u, Array(13, 13, 13, 0, 438)
Finish
