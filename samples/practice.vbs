' A host in a script: records a practice, lists the history, opens the windows.
'
'   cscript //nologo practice.vbs FOLDER [nowindows]
'
' FOLDER holds Client.mdb and the question banks.
Option Explicit

Const UserId = 1
Const SubjectCode = 24

Dim folder, windows
If WScript.Arguments.Count = 0 Then
    WScript.Echo "用法：cscript //nologo practice.vbs 文件夹 [nowindows]"
    WScript.Quit 2
End If
folder = WScript.Arguments(0)
windows = WScript.Arguments.Count = 1

Dim train, message
Set train = CreateObject("QmTrainInfo.TrainInfo")
train.ClientPath = folder
If Not train.Init(message) Then
    WScript.Echo message
    WScript.Quit 1
End If

RecordPractice
ListHistory
If windows Then ShowWindows

Sub RecordPractice
    Dim id, result
    id = train.AddNewTrain(Now - 1 / 24, UserId, 3, 0, SubjectCode)
    If id = -1 Then
        WScript.Echo "训练没有记录，原因见日志。"
        WScript.Quit 1
    End If
    Set result = CreateObject("QmTrainInfo.TrainResult")
    result.ClientPath = folder
    result.Add id, 1, "D1", "0001001", 2, 2, "2", "", "", 1, 1, 1
    result.Add id, 1, "D1", "0001002", 2, 0, "4", "答案错误", "", 1, 1, 2
    train.Update id, Now, 2
    WScript.Echo "训练号 " & id & " 已记录。"
End Sub

Sub ListHistory
    Dim rows
    train.UserId = UserId
    train.SubjectCode = SubjectCode
    WScript.Echo "训练次数：" & train.GetTrainTimes
    Set rows = train.GetRecordset("")
    Do Until rows.EOF
        WScript.Echo rows("TrainID") & "  " & rows("StartDate") & "  " & rows("GetScore") & "/" & rows("PaperScore")
        rows.MoveNext
    Loop
    rows.Close
End Sub

Sub ShowWindows
    Dim history, notes
    Set history = CreateObject("QmTrainInfo.UITrain")
    history.ClientPath = folder
    history.DataMdbPath = folder
    history.UserId = UserId
    history.SubjectCode = SubjectCode
    history.ShowUI
    Set notes = CreateObject("QmTrainInfo.UIManageNotes")
    notes.ClientPath = folder
    notes.DataMdbPath = folder
    notes.TotalPath = folder
    notes.UserId = UserId
    notes.SubjectCode = SubjectCode
    notes.ShowDlg
End Sub
