' What the scripts check with; each is run after this one. The first argument is the folder of the test's files.
Option Explicit
Dim Folder, Failures, Checked
Folder = WScript.Arguments(0)
Failures = 0
Checked = 0

Sub Check(what, got, expected)
    Checked = Checked + 1
    If VarType(got) <> VarType(expected) Then
        Fail what, TypeName(got) & " instead of " & TypeName(expected)
    ElseIf IsEmpty(expected) Or IsNull(expected) Then
        Exit Sub
    ElseIf VarType(got) = vbDate Then
        If Abs(CDbl(got) - CDbl(expected)) > 0.5 / 86400 Then Fail what, CStr(got) & " instead of " & CStr(expected)
    ElseIf got <> expected Then
        Fail what, "[" & CStr(got) & "] instead of [" & CStr(expected) & "]"
    End If
End Sub

Sub CheckTrue(what, condition)
    Checked = Checked + 1
    If Not condition Then Fail what, "not so"
End Sub

' The error that the last statement has raised; clears it.
Sub CheckError(what, number, source, description)
    Checked = Checked + 1
    If Err.Number <> number Or Err.Source <> source Or Err.Description <> description Then
        Fail what, Err.Number & " [" & Err.Source & "] [" & Err.Description & "]"
    End If
    Err.Clear
End Sub

Sub Fail(what, how)
    Failures = Failures + 1
    WScript.Echo "FAILED " & what & ": " & how
End Sub

Sub Finish
    WScript.Echo Checked & " checks, " & Failures & " failures"
    WScript.Quit Failures
End Sub

' The elements of an array with bars between them (Wine's scripts have no Join).
Function Listed(elements)
    Dim i
    Listed = elements(0)
    For i = 1 To UBound(elements)
        Listed = Listed & "|" & elements(i)
    Next
End Function
