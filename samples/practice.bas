' A host in Visual Basic 6, with a reference to "QmTrainInfo 1.0": records a practice and shows the history.
' A class module, so that it can take the event of the window.
Option Explicit

Private Const UserId As Long = 1
Private Const SubjectCode As Long = 24

Private WithEvents History As QmTrainInfo.UITrain

Public Sub RecordPractice(ByVal Folder As String)
    Dim Train As New QmTrainInfo.TrainInfo
    Dim Result As New QmTrainInfo.TrainResult
    Dim Message As String
    Dim User As Long
    Dim Id As Long

    Train.ClientPath = Folder            ' raises vbObjectError + 1 when there is no Client.mdb
    If Not Train.Init(Message) Then
        MsgBox Message, vbExclamation
        Exit Sub
    End If
    User = UserId
    Id = Train.AddNewTrain(Now, User, 3, 0, SubjectCode)
    Result.ClientPath = Folder
    Result.Add Id, 1, "D1", "0001001", 2, 2, "2", "", "", 1, 1, 1
    Train.Update Id, Now, 2
End Sub

Public Sub ShowHistory(ByVal Folder As String)
    Set History = New QmTrainInfo.UITrain
    History.ClientPath = Folder
    History.DataMdbPath = Folder
    History.UserId = UserId
    History.SubjectCode = SubjectCode
    History.ShowUI                       ' returns when the window is closed
End Sub

Private Sub History_ReDoQuestionPaper(ByVal TrainID As Long, ByVal lblnBS As Boolean)
    ' start that paper again
End Sub
