// Writes all tables of a database as npm's mdb-reader reads them:
//   node dump.mjs NODE_MODULES FILE
// Comma-separated lines: "T" and a table's name, "C" and its column names, "R" and the values of a row. Texts are
// quoted, Null is an empty field without quotes, dates count the days since 1899-12-30, binary is hex, Booleans are 1
// and 0.
import { readFileSync, writeSync } from "node:fs";
import { join } from "node:path";
import { pathToFileURL } from "node:url";

const [modules, file] = process.argv.slice(2);
const { default: MDBReader } = await import(pathToFileURL(join(modules, "mdb-reader/lib/node/index.js")).href);

const quoted = (text) => '"' + text.replaceAll('"', '""') + '"';

function asText(value) {
    if (value === null || value === undefined) return "";
    if (typeof value === "boolean") return value ? "1" : "0";
    if (typeof value === "string") return quoted(value);
    if (value instanceof Date) return String(value.getTime() / 86400000 + 25569);
    if (value instanceof Uint8Array) return quoted(Buffer.from(value).toString("hex"));
    return String(value);
}

function put(text) {
    let bytes = Buffer.from(text);
    while (bytes.length > 0) bytes = bytes.subarray(writeSync(1, bytes));
}

const reader = new MDBReader(readFileSync(file));
for (const name of reader.getTableNames({ normalTables: true, systemTables: true, linkedTables: false })) {
    const table = reader.getTable(name);
    const columns = table.getColumnNames();
    put(["T", quoted(name)].join(",") + "\n");
    put(["C", ...columns.map(quoted)].join(",") + "\n");
    for (const row of table.getData()) put(["R", ...columns.map((column) => asText(row[column]))].join(",") + "\n");
}
