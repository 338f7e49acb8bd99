// CREATE, DROP and ALTER.
#include <algorithm>
#include <array>

#include "core/text.h"
#include "sql/parse/parser.h"

namespace qmtrain::sql {
namespace {

constexpr int kTextSize = 255;
constexpr int kBinarySize = 510;
constexpr int kMaxPrecision = 28;

struct TypeName {
    std::u16string_view name;
    ColumnType type;
};

constexpr std::array<TypeName, 56> kTypeNames = {{
    {u"COUNTER", ColumnType::Long},
    {u"AUTOINCREMENT", ColumnType::Long},
    {u"IDENTITY", ColumnType::Long},
    {u"TEXT", ColumnType::Text},
    {u"CHAR", ColumnType::Text},
    {u"CHARACTER", ColumnType::Text},
    {u"VARCHAR", ColumnType::Text},
    {u"NCHAR", ColumnType::Text},
    {u"NVARCHAR", ColumnType::Text},
    {u"STRING", ColumnType::Text},
    {u"ALPHANUMERIC", ColumnType::Text},
    {u"MEMO", ColumnType::Memo},
    {u"LONGTEXT", ColumnType::Memo},
    {u"LONGCHAR", ColumnType::Memo},
    {u"NOTE", ColumnType::Memo},
    {u"NTEXT", ColumnType::Memo},
    {u"LONG", ColumnType::Long},
    {u"INTEGER", ColumnType::Long},
    {u"INT", ColumnType::Long},
    {u"INTEGER4", ColumnType::Long},
    {u"SHORT", ColumnType::Integer},
    {u"SMALLINT", ColumnType::Integer},
    {u"INTEGER2", ColumnType::Integer},
    {u"BYTE", ColumnType::Byte},
    {u"TINYINT", ColumnType::Byte},
    {u"INTEGER1", ColumnType::Byte},
    {u"SINGLE", ColumnType::Single},
    {u"REAL", ColumnType::Single},
    {u"FLOAT4", ColumnType::Single},
    {u"IEEESINGLE", ColumnType::Single},
    {u"DOUBLE", ColumnType::Double},
    {u"FLOAT", ColumnType::Double},
    {u"FLOAT8", ColumnType::Double},
    {u"IEEEDOUBLE", ColumnType::Double},
    {u"NUMBER", ColumnType::Double},
    {u"CURRENCY", ColumnType::Currency},
    {u"MONEY", ColumnType::Currency},
    {u"DATETIME", ColumnType::Date},
    {u"DATE", ColumnType::Date},
    {u"TIME", ColumnType::Date},
    {u"TIMESTAMP", ColumnType::Date},
    {u"YESNO", ColumnType::Boolean},
    {u"BIT", ColumnType::Boolean},
    {u"BOOLEAN", ColumnType::Boolean},
    {u"LOGICAL", ColumnType::Boolean},
    {u"LONGBINARY", ColumnType::LongBinary},
    {u"IMAGE", ColumnType::LongBinary},
    {u"OLEOBJECT", ColumnType::LongBinary},
    {u"GENERAL", ColumnType::LongBinary},
    {u"BINARY", ColumnType::Binary},
    {u"VARBINARY", ColumnType::Binary},
    {u"GUID", ColumnType::Guid},
    {u"UNIQUEIDENTIFIER", ColumnType::Guid},
    {u"DECIMAL", ColumnType::Decimal},
    {u"NUMERIC", ColumnType::Decimal},
    {u"DEC", ColumnType::Decimal},
}};

const TypeName* FindType(std::u16string_view name) {
    for (const TypeName& entry : kTypeNames) {
        if (EqualNames(entry.name, name)) return &entry;
    }
    return nullptr;
}

}  // namespace

// "PARAMETERS name type, …;" before a statement.
std::vector<ast::Parameter> Parser::ParseParameters() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInParameters;
    std::vector<ast::Parameter> parameters;
    Take();
    do {
        ast::Parameter& parameter = parameters.emplace_back();
        parameter.column.name = ExpectName(kError);
        // "[Forms]![Dialog]![Date]" as it is used.
        while (TakeSymbol(u"!")) parameter.column.name += u"!" + ExpectName(kError);
        const auto same = [&](const ast::Parameter& other) {
            return &other != &parameter && EqualNames(other.column.name, parameter.column.name);
        };
        if (std::ranges::any_of(parameters, same)) Fail(kError);
        parameter.typed = !TakeKeyword(u"VALUE");
        if (parameter.typed) ParseColumnType(parameter.column);
    } while (TakeSymbol(u","));
    ExpectSymbol(u";", kError);
    return parameters;
}

ast::Statement Parser::ParseCreate() {
    ast::Statement statement;
    if (TakeKeyword(u"TABLE")) {
        statement.node = ParseCreateTable();
        return statement;
    }
    const bool unique = TakeKeyword(u"UNIQUE");
    if (!TakeKeyword(u"INDEX")) Fail(ErrorNumber::SyntaxInCreateTable);
    statement.node = ParseCreateIndex(unique);
    return statement;
}

ast::Statement Parser::ParseDrop() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInDrop;
    ast::Statement statement;
    if (TakeKeyword(u"TABLE")) {
        statement.node = ast::DropTable{ExpectName(kError)};
        return statement;
    }
    ExpectKeyword(u"INDEX", kError);
    ast::DropIndex drop;
    drop.name = ExpectName(kError);
    ExpectKeyword(u"ON", kError);
    drop.table = ExpectName(kError);
    statement.node = std::move(drop);
    return statement;
}

ast::CreateTable Parser::ParseCreateTable() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInCreateTable;
    ast::CreateTable create;
    create.name = ExpectName(kError);
    ExpectSymbol(u"(", kError);
    do {
        const bool key = PeekKeyword(u"PRIMARY") && PeekKeyword(u"KEY", 1);
        const bool unique = PeekKeyword(u"UNIQUE") && PeekSymbol(u"(", 1);
        const bool foreign = PeekKeyword(u"FOREIGN") && PeekKeyword(u"KEY", 1);
        if (PeekKeyword(u"CONSTRAINT") || key || unique || foreign) {
            create.constraints.push_back(ParseTableConstraint());
        } else {
            create.columns.push_back(ParseColumnDefinition());
        }
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", kError);
    if (create.columns.empty()) Fail(kError);
    return create;
}

ast::ColumnDefinition Parser::ParseColumnDefinition() {
    ast::ColumnDefinition definition;
    definition.column.name = ExpectName(ErrorNumber::SyntaxInColumnDefinition);
    ParseColumnType(definition.column);
    while (ParseColumnOption(definition)) {
    }
    return definition;
}

void Parser::ParseColumnType(Column& column) {
    const Token& token = Peek();
    const TypeName* type = token.kind == TokenKind::Name ? FindType(token.text) : nullptr;
    if (type == nullptr) Fail(ErrorNumber::SyntaxInColumnDefinition);
    Take();
    column.type = type->type;
    column.autonumber = type->name == u"COUNTER" || type->name == u"AUTOINCREMENT" || type->name == u"IDENTITY";
    ParseTypeSizes(column);
}

void Parser::ParseTypeSizes(Column& column) {
    int first = -1;
    int second = -1;
    if (TakeSymbol(u"(")) {
        first = ExpectSize();
        if (TakeSymbol(u",")) second = ExpectSize();
        ExpectSymbol(u")", ErrorNumber::SyntaxInColumnDefinition);
    }
    const auto check = [this](bool fine) {
        if (!fine) Fail(ErrorNumber::SyntaxInColumnDefinition);
    };
    switch (column.type) {
        case ColumnType::Text:
        case ColumnType::Binary: {
            const int limit = column.type == ColumnType::Text ? kTextSize : kBinarySize;
            column.size = first < 0 ? limit : first;
            check(second < 0 && column.size >= 1 && column.size <= limit);
            break;
        }
        case ColumnType::Decimal:
            column.precision = first < 0 ? 18 : first;
            column.scale = second < 0 ? 0 : second;
            check(column.precision >= 1 && column.precision <= kMaxPrecision && column.scale <= column.precision);
            break;
        default:
            // An autonumber always starts at 1 and goes on by 1; other types have no size.
            check(column.autonumber ? (first < 0 || first == 1) && (second < 0 || second == 1) : second < 0);
    }
}

int Parser::ExpectSize() {
    const Token& token = Peek();
    if (token.kind != TokenKind::Literal || token.value.GetType() != Value::Type::Long) {
        Fail(ErrorNumber::SyntaxInColumnDefinition);
    }
    return Take().value.As<std::int32_t>();
}

bool Parser::ParseColumnOption(ast::ColumnDefinition& definition) {
    Column& column = definition.column;
    if (TakeKeyword(u"NOT")) {
        ExpectKeyword(u"NULL", ErrorNumber::SyntaxInColumnDefinition);
        column.required = true;
    } else if (TakeKeyword(u"NULL")) {
        column.required = false;
    } else if (TakeKeyword(u"DEFAULT")) {
        ParseDefault(column);
    } else if (PeekKeyword(u"WITH") && (PeekKeyword(u"COMPRESSION", 1) || PeekKeyword(u"COMP", 1))) {
        // How texts are packed is the storage's own choice.
        Take();
        Take();
    } else if (TakeKeyword(u"CONSTRAINT")) {
        std::u16string name = ExpectName(ErrorNumber::SyntaxInColumnDefinition);
        if (TakeKeyword(u"NOT")) {
            ExpectKeyword(u"NULL", ErrorNumber::SyntaxInColumnDefinition);
            column.required = true;
        } else {
            definition.constraints.push_back(ParseColumnConstraint(std::move(name), column.name));
        }
    } else if (PeekKeyword(u"PRIMARY") || PeekKeyword(u"UNIQUE") || PeekKeyword(u"REFERENCES")) {
        definition.constraints.push_back(ParseColumnConstraint({}, column.name));
    } else {
        return false;
    }
    return true;
}

void Parser::ParseDefault(Column& column) {
    const std::size_t first = Peek().position;
    ParseOperators(0);
    std::u16string_view text = text_.substr(first, Peek().position - first);
    while (!text.empty() && text.back() <= u' ') text.remove_suffix(1);
    column.default_expression = text;
}

ast::Constraint Parser::ParseColumnConstraint(std::u16string name, const std::u16string& column) {
    if (TakeKeyword(u"REFERENCES")) return ParseReferences(std::move(name), {column});
    ast::IndexDefinition index;
    index.primary = TakeKeyword(u"PRIMARY");
    if (index.primary)
        ExpectKeyword(u"KEY", ErrorNumber::SyntaxInColumnDefinition);
    else
        ExpectKeyword(u"UNIQUE", ErrorNumber::SyntaxInColumnDefinition);
    index.name = std::move(name);
    index.unique = true;
    index.required = index.primary;
    index.keys.push_back({column, false});
    return index;
}

ast::Constraint Parser::ParseTableConstraint() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInCreateTable;
    std::u16string name;
    if (TakeKeyword(u"CONSTRAINT")) name = ExpectName(kError);
    if (TakeKeyword(u"FOREIGN")) {
        ExpectKeyword(u"KEY", kError);
        std::vector<std::u16string> columns = ExpectNameList(kError);
        ExpectKeyword(u"REFERENCES", kError);
        return ParseReferences(std::move(name), std::move(columns));
    }
    ast::IndexDefinition index;
    index.primary = TakeKeyword(u"PRIMARY");
    if (index.primary)
        ExpectKeyword(u"KEY", kError);
    else
        ExpectKeyword(u"UNIQUE", kError);
    index.name = std::move(name);
    index.unique = true;
    index.required = index.primary;
    index.keys = ParseIndexKeys(kError);
    return index;
}

// After REFERENCES.
ast::ReferenceDefinition Parser::ParseReferences(std::u16string name, std::vector<std::u16string> columns) {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInCreateTable;
    ast::ReferenceDefinition reference;
    reference.name = std::move(name);
    reference.columns = std::move(columns);
    reference.table = ExpectName(kError);
    if (PeekSymbol(u"(")) reference.referenced_columns = ExpectNameList(kError);
    while (TakeKeyword(u"ON")) {
        const bool update = TakeKeyword(u"UPDATE");
        if (!update) ExpectKeyword(u"DELETE", kError);
        const bool cascade = TakeKeyword(u"CASCADE");
        if (!cascade) {
            ExpectKeyword(u"NO", kError);
            ExpectKeyword(u"ACTION", kError);
        }
        (update ? reference.cascade_update : reference.cascade_delete) = cascade;
    }
    return reference;
}

std::vector<ast::IndexDefinition::Key> Parser::ParseIndexKeys(ErrorNumber error) {
    std::vector<ast::IndexDefinition::Key> keys;
    ExpectSymbol(u"(", error);
    do {
        ast::IndexDefinition::Key key;
        key.column = ExpectName(error);
        if (TakeKeyword(u"DESC"))
            key.descending = true;
        else
            TakeKeyword(u"ASC");
        keys.push_back(std::move(key));
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", error);
    return keys;
}

ast::CreateIndex Parser::ParseCreateIndex(bool unique) {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInCreateIndex;
    ast::CreateIndex create;
    create.index.unique = unique;
    create.index.name = ExpectName(kError);
    ExpectKeyword(u"ON", kError);
    create.table = ExpectName(kError);
    create.index.keys = ParseIndexKeys(kError);
    if (!TakeKeyword(u"WITH")) return create;
    if (TakeKeyword(u"PRIMARY")) {
        create.index.primary = create.index.unique = create.index.required = true;
    } else if (TakeKeyword(u"DISALLOW")) {
        ExpectKeyword(u"NULL", kError);
        create.index.required = true;
    } else {
        ExpectKeyword(u"IGNORE", kError);
        ExpectKeyword(u"NULL", kError);
        create.index.ignore_nulls = true;
    }
    return create;
}

ast::AlterTable Parser::ParseAlterTable() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInAlterTable;
    ast::AlterTable alter;
    ExpectKeyword(u"TABLE", kError);
    alter.table = ExpectName(kError);
    if (TakeKeyword(u"ADD")) {
        if (PeekKeyword(u"CONSTRAINT") || PeekKeyword(u"FOREIGN") || PeekKeyword(u"PRIMARY") ||
            (PeekKeyword(u"UNIQUE") && PeekSymbol(u"(", 1))) {
            alter.action = ParseTableConstraint();
        } else {
            TakeKeyword(u"COLUMN");
            alter.action = ParseColumnDefinition();
        }
        return alter;
    }
    if (TakeKeyword(u"ALTER")) {
        TakeKeyword(u"COLUMN");
        ast::AlterTable::AlterColumn change{ParseColumnDefinition()};
        // Keys are made and dropped as such.
        if (!change.definition.constraints.empty()) Fail(kError);
        alter.action = std::move(change);
        return alter;
    }
    ExpectKeyword(u"DROP", kError);
    if (TakeKeyword(u"CONSTRAINT")) {
        alter.action = ast::AlterTable::DropConstraint{ExpectName(kError)};
    } else {
        TakeKeyword(u"COLUMN");
        alter.action = ast::AlterTable::DropColumn{ExpectName(kError)};
    }
    return alter;
}

}  // namespace qmtrain::sql
