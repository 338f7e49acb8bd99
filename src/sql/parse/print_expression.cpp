#include "core/convert.h"
#include "core/enum_table.h"
#include "core/text.h"
#include "sql/parse/printer.h"

namespace qmtrain::sql::ast {
namespace {

constexpr EnumTable<BinaryOperator, std::u16string_view, 20> kBinaryText = {
    u"^", u"*", u"/",  u"\\", u"Mod",  u"+",   u"-",  u"&",   u"=",   u"<>",
    u"<", u">", u"<=", u">=", u"Like", u"And", u"Or", u"Xor", u"Eqv", u"Imp"};

std::u16string Quoted(std::u16string_view text) {
    std::u16string out = u"'";
    for (const char16_t unit : text) {
        if (unit == u'\'') out += unit;
        out += unit;
    }
    return out + u"'";
}

std::u16string Padded(int number, std::size_t width) {
    std::u16string text = ToText(number);
    return std::u16string(text.size() < width ? width - text.size() : 0, u'0') + text;
}

std::u16string DateText(Date date) {
    const CivilTime t = ToCivil(date);
    return u"#" + Padded(t.year, 4) + u"-" + Padded(t.month, 2) + u"-" + Padded(t.day, 2) + u" " + Padded(t.hour, 2) +
           u":" + Padded(t.minute, 2) + u":" + Padded(t.second, 2) + u"#";
}

}  // namespace

std::u16string Bracketed(std::u16string_view name) {
    return u"[" + std::u16string(name) + u"]";
}

void Printer::Put(const Expression& expression) {
    switch (expression.kind) {
        case ExpressionKind::Literal: return PutLiteral(As<Literal>(expression).value);
        case ExpressionKind::ColumnName: return PutColumn(As<ColumnName>(expression));
        case ExpressionKind::Unary: return PutUnary(As<Unary>(expression));
        case ExpressionKind::Binary: return PutBinary(As<Binary>(expression));
        case ExpressionKind::Between: return PutBetween(As<Between>(expression));
        case ExpressionKind::IsNull: return PutIsNull(As<IsNull>(expression));
        case ExpressionKind::InList: return PutInList(As<InList>(expression));
        case ExpressionKind::InSelect: return PutInSelect(As<InSelect>(expression));
        case ExpressionKind::Quantified: return PutQuantified(As<Quantified>(expression));
        case ExpressionKind::Exists: out += u"Exists "; return PutSubSelect(*As<Exists>(expression).select);
        case ExpressionKind::SubSelect: return PutSubSelect(*As<SubSelect>(expression).select);
        case ExpressionKind::Call: return PutCall(As<Call>(expression));
    }
}

void Printer::PutClause(std::u16string_view keyword, const ExpressionPtr& expression) {
    if (expression == nullptr) return;
    out += keyword;
    Put(*expression);
}

void Printer::PutLiteral(const Value& value) {
    if (value.IsNull())
        out += u"Null";
    else if (value.IsText())
        out += Quoted(value.Text());
    else if (value.GetType() == Value::Type::Date)
        out += DateText(value.As<Date>());
    else
        PutPlain(ToText(value));
}

// A negative number comes from a hexadecimal one; in decimal it is read as a sign and a number.
void Printer::PutPlain(const std::u16string& text) {
    const bool negative = text.starts_with(u'-');
    if (negative) out += u'(';
    out += text;
    if (negative) out += u')';
}

void Printer::PutColumn(const ColumnName& column) {
    if (columns_) {
        out += columns_(column);
        return;
    }
    // Forms!Form!Field: no name has a mark of exclamation in it.
    std::u16string_view table = column.table;
    for (std::size_t mark = 0; column.exclamation && (mark = table.find(u'!')) != table.npos;) {
        out.append(Bracketed(table.substr(0, mark))).append(u"!");
        table.remove_prefix(mark + 1);
    }
    if (!table.empty()) out.append(Bracketed(table)).append(column.exclamation ? u"!" : u".");
    out += Bracketed(column.name);
}

void Printer::PutUnary(const Unary& unary) {
    out += unary.op == UnaryOperator::Not ? u"(Not " : unary.op == UnaryOperator::Minus ? u"(-" : u"(+";
    Put(*unary.operand);
    out += u")";
}

void Printer::PutBinary(const Binary& binary) {
    out += u"(";
    Put(*binary.left);
    out += u" ";
    out += kBinaryText[binary.op];
    out += u" ";
    Put(*binary.right);
    out += u")";
}

void Printer::PutBetween(const Between& between) {
    out += u"(";
    Put(*between.subject);
    out += between.negated ? u" Not Between " : u" Between ";
    Put(*between.low);
    out += u" And ";
    Put(*between.high);
    out += u")";
}

void Printer::PutIsNull(const IsNull& is_null) {
    out += u"(";
    Put(*is_null.subject);
    out += is_null.negated ? u" Is Not Null)" : u" Is Null)";
}

void Printer::PutInList(const InList& in) {
    out += u"(";
    Put(*in.subject);
    out += in.negated ? u" Not In (" : u" In (";
    PutList(in.items, [this](const ExpressionPtr& item) { Put(*item); });
    out += u"))";
}

void Printer::PutInSelect(const InSelect& in) {
    out += u"(";
    Put(*in.subject);
    out += in.negated ? u" Not In " : u" In ";
    PutSubSelect(*in.select);
    out += u")";
}

void Printer::PutQuantified(const Quantified& quantified) {
    out += u"(";
    Put(*quantified.subject);
    out += u" " + std::u16string(kBinaryText[quantified.op]);
    out += quantified.all ? u" ALL " : u" ANY ";
    PutSubSelect(*quantified.select);
    out += u")";
}

void Printer::PutSubSelect(const Select& select) {
    out += u"(";
    Put(select);
    out += u")";
}

void Printer::PutCall(const Call& call) {
    out += ToUpper(call.name) + u"(";
    if (call.star) out += u"*";
    PutList(call.arguments, [this](const ExpressionPtr& argument) { Put(*argument); });
    out += u")";
}

}  // namespace qmtrain::sql::ast
