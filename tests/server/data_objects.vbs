' The database engine as a module written for DAO uses it, with Object variables.
Const dbOpenTable = 1, dbOpenDynaset = 2, dbOpenSnapshot = 4, dbOpenForwardOnly = 8
Const dbLong = 4, dbText = 10, dbDate = 8, dbAutoIncrField = 16, dbFailOnError = 128, dbVersion40 = 64
Const General = ";LANGID=0x0409;CP=1252;COUNTRY=0"
Dim e, w, db, td, fd, ix, rs, other, qd, rel, rows, text, mark, item

Set e = CreateObject("QmTrainInfo.DBEngine")
Check "Version", e.Version, "3.6"
Check "Workspaces", e.Workspaces.Count, CLng(1)
Check "first workspace", e.Workspaces(0).Name, "#Default Workspace#"
Check "default members", e(0).UserName, "admin"
Set db = e.CreateDatabase(Folder & "\Own.mdb", General, dbVersion40)
Check "database's version", db.Version, "4.0"

' A table is put together and appended.
Set td = db.CreateTableDef("Pupils")
Set fd = td.CreateField("Id", dbLong)
fd.Attributes = dbAutoIncrField
td.Fields.Append fd
td.Fields.Append td.CreateField("Name", dbText, 20)
td.Fields.Append td.CreateField("Born", dbDate)
td.Fields.Append td.CreateField("Class", dbLong)
Set ix = td.CreateIndex("PrimaryKey")
ix.Primary = True
ix.Fields.Append ix.CreateField("Id")
td.Indexes.Append ix
db.TableDefs.Append td
db.Execute "CREATE INDEX ByName ON Pupils (Name)", dbFailOnError
db.TableDefs.Refresh
Check "fields", db("Pupils").Fields.Count, CLng(4)
Check "size", db.TableDefs("Pupils").Fields("Name").Size, CLng(20)
text = ""
For Each item In db.TableDefs("Pupils").Indexes
    text = text & item.Name & " "
Next
Check "For Each", text, "PrimaryKey ByName "
On Error Resume Next
db.TableDefs.Append td
CheckTrue "appended twice", Err.Number = 3367
Err.Clear
CheckTrue "Errors", e.Errors(0).Number = 3367
On Error GoTo 0

' The default type is a table; fields by default members.
Set rs = db.OpenRecordset("Pupils")
Check "Type", rs.Type, CInt(1)
rs.AddNew
rs("Name") = "Anna": rs.Fields("Born").Value = CDate("1999-05-06"): rs.Fields("Class") = 7
rs.Update
rs.AddNew
rs("Name").Value = "Berta"
rs("Class").Value = 8
Check "EditMode", rs.EditMode, CInt(2)
rs.Update
rs.AddNew: rs("Name").Value = "Carl": rs("Class").Value = 7: rs.Update
Check "RecordCount", rs.RecordCount, CLng(3)
rs.Index = "ByName"
rs.Seek "=", "berta"
Check "Seek", rs.NoMatch, False
Check "found", rs("Id").Value, CLng(2)
rs.Seek "=", "Dora"
Check "Seek, none", rs.NoMatch, True
rs.Bookmark = rs.LastModified
Check "LastModified", rs("Name").Value, "Carl"
rs.Close

Set rs = db.OpenRecordset("SELECT * FROM Pupils ORDER BY Id", dbOpenDynaset)
rs.FindLast "Class = 7"
Check "FindLast", rs("Name").Value, "Carl"
rs.FindPrevious "Class = 7"
Check "FindPrevious", rs("Name").Value, "Anna"
Check "AbsolutePosition", rs.AbsolutePosition, CLng(0)
mark = rs.Bookmark
Set other = rs.Clone
other.Bookmark = mark
other.MoveNext
Check "Clone", other("Name").Value & rs("Name").Value, "BertaAnna"
other.MoveLast
other.Move 1, mark
Check "Move from a bookmark", other("Name").Value, "Berta"
other.Move -1
Check "Move", other("Name").Value, "Anna"
rs.Edit
rs("Name").Value = "Anne"
Check "OriginalValue", rs.Fields("Name").OriginalValue, "Anna"
rs.CancelUpdate
Check "CancelUpdate", rs("Name").Value, "Anna"
Check "SourceTable", rs.Fields("Name").SourceTable, "Pupils"
rs.Filter = "Class = 7"
rs.Sort = "Name DESC"
Set other = rs.OpenRecordset()
Check "Filter and Sort", other("Name").Value, "Carl"
rs.MoveFirst
rows = rs.GetRows(2)
Check "GetRows", UBound(rows, 1) & " " & UBound(rows, 2) & " " & rows(1, 1), "3 1 Berta"
Check "rows left", rs("Name").Value, "Carl"
On Error Resume Next
rs.Seek "=", 1
CheckTrue "Seek in a dynaset", Err.Number = 3251
Err.Clear
Set other = db.OpenRecordset("Pupils", dbOpenForwardOnly)
other.MovePrevious
CheckTrue "back in a forward-only one", Err.Number = 3219
Err.Clear
Set other = db.OpenRecordset("Pupils", dbOpenSnapshot)
other.Edit
CheckTrue "Edit in a snapshot", Err.Number = 3027
Err.Clear
On Error GoTo 0

' Parameters, by default members too; names of arguments.
Set qd = db.CreateQueryDef("", "PARAMETERS C LONG; SELECT Name FROM Pupils WHERE Class = C AND Id > [From]")
Check "Parameters", qd.Parameters.Count, CLng(2)
On Error Resume Next
Set rs = qd.OpenRecordset()
CheckTrue "without values", Err.Number = 3061
Err.Clear
On Error GoTo 0
qd.Parameters("C") = 7
qd("From").Value = 1
Set rs = qd.OpenRecordset(dbOpenSnapshot)
Check "with values", rs("Name").Value, "Carl"
Set qd = db.CreateQueryDef("", "UPDATE Pupils SET Class = Class + [More]")
qd.Parameters("More") = 1
qd.Execute dbFailOnError
Check "RecordsAffected", qd.RecordsAffected, CLng(3)

' Rules, and a database for oneself alone.
Set td = db.CreateTableDef("Marks")
Set fd = td.CreateField("Mark", dbLong)
fd.ValidationRule = ">= 0 And <= 100"
fd.ValidationText = "0 - 100"
td.Fields.Append fd
td.ValidationRule = "[Mark] <> 13"
db.TableDefs.Append td
db.Execute "INSERT INTO Marks VALUES (100)", dbFailOnError
fd.ValidationRule = ">= -5 And <= 100"
db.Execute "INSERT INTO Marks VALUES (-5)", dbFailOnError
On Error Resume Next
db.Execute "INSERT INTO Marks VALUES (101)", dbFailOnError
CheckTrue "rule of a field", Err.Number = 3317 And Err.Description = "0 - 100"
Err.Clear
db.Execute "UPDATE Marks SET Mark = 13", dbFailOnError
CheckTrue "rule of a table", Err.Number = 3316
Err.Clear
Set other = e.OpenDatabase(Folder & "\Own.mdb", True)
CheckTrue "not alone", Err.Number = 3045
Err.Clear
On Error GoTo 0

' Relations, transactions, several workspaces.
db.Execute "CREATE TABLE Classes (Class LONG PRIMARY KEY)"
db.Execute "INSERT INTO Classes SELECT DISTINCT Class FROM Pupils"
Check "two classes", db.RecordsAffected, CLng(2)
Set rel = db.CreateRelation("InClass", "Classes", "Pupils", 4096)
Set fd = rel.CreateField("Class")
fd.ForeignName = "Class"
rel.Fields.Append fd
db.Relations.Append rel
Check "relation", db.Relations("InClass").Fields("Class").ForeignName, "Class"
e.BeginTrans
db.Execute "DELETE FROM Classes WHERE Class = 8"
Check "cascade", db.OpenRecordset("Pupils").RecordCount, CLng(1)
e.Rollback
Check "Rollback", db.OpenRecordset("Pupils").RecordCount, CLng(3)
Set w = e.CreateWorkspace("Second", "admin", "")
e.Workspaces.Append w
Set other = w.OpenDatabase(Folder & "\Own.mdb")
Check "another workspace", other.OpenRecordset("Pupils").RecordCount, CLng(3)
w.Close
Check "a closed workspace has gone", e.Workspaces.Count, CLng(1)
Check "Properties", db.Properties("Version").Value, "4.0"
db.Close
e.CompactDatabase Folder & "\Own.mdb", Folder & "\Small.mdb"
Set db = e.OpenDatabase(Folder & "\Small.mdb", False, True)
Check "Updatable", db.Updatable, False
Check "compacted", db.OpenRecordset("Pupils").RecordCount, CLng(3)
db.Close
Set db = e.OpenDatabase(Folder & "\Small.mdb", True)
On Error Resume Next
Set other = e.OpenDatabase(Folder & "\Small.mdb")
CheckTrue "kept out", Err.Number = 3356
Err.Clear
On Error GoTo 0
db.Close
Finish
