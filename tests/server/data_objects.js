// The database engine from JScript: everything by its own name.
var folder = WScript.Arguments(0);
var checked = 0, failures = 0;

function check(what, got, expected) {
    checked++;
    if (got === expected) return;
    failures++;
    WScript.Echo("FAILED " + what + ": [" + got + "] instead of [" + expected + "]");
}

function errorOf(body) {
    try {
        body();
    } catch (error) {
        return error.number & 0xFFFF;
    }
    return 0;
}

var engine = new ActiveXObject("QmTrainInfo.DBEngine");
var db = engine.CreateDatabase(folder + "\\Script.mdb", ";LANGID=0x0409;CP=1252;COUNTRY=0");
db.Execute("CREATE TABLE T (Id COUNTER PRIMARY KEY, S TEXT(10))", 128);
var rs = db.OpenRecordset("T", 2);
for (var i = 1; i <= 3; i++) {
    rs.AddNew();
    rs.Fields("S").Value = "s" + i;
    rs.Update();
}
check("RecordCount", rs.RecordCount, 3);
rs.MoveFirst();
rs.FindNext("S = 's3'");
check("FindNext", rs.Fields.Item("Id").Value, 3);
check("NoMatch", rs.NoMatch, false);
check("Seek", errorOf(function () { rs.Seek("=", 1); }), 3251);
rs.Close();
check("closed", errorOf(function () { rs.MoveFirst(); }), 3420);
rs = db.OpenRecordset("T", 1);
rs.Index = "PrimaryKey";
rs.Seek(">", 1);
check("Seek in a table", rs.Fields("S").Value, "s2");
check("names", db.TableDefs.Item("T").Fields.Item(1).Name, "S");
for (var all = new Enumerator(db.TableDefs.Item("T").Fields), text = ""; !all.atEnd(); all.moveNext()) {
    text += all.item().Name;
}
check("Enumerator", text, "IdS");
var query = db.CreateQueryDef("", "SELECT S FROM T WHERE Id = [Which]");
query.Parameters.Item("Which").Value = 2;
check("parameter", query.OpenRecordset().Fields(0).Value, "s2");
rs.Close();
db.Close();
WScript.Echo(checked + " checks, " + failures + " failures");
