// Functions in the server's words.
#include <algorithm>
#include <span>

#include "core/convert.h"
#include "core/text.h"
#include "dao/remote_sql.h"
#include "dao/remote_text.h"
#include "sql/aggregate_calls.h"

namespace qmtrain::dao {
namespace {

bool IsWholeFrom(const sql::ast::Expression& expression, std::int32_t least) {
    const Value* value = LiteralIn(expression);
    return value != nullptr && value->GetType() == Value::Type::Long && value->As<std::int32_t>() >= least;
}

// What the server has under another name.
struct Renamed {
    std::u16string_view ours;
    std::u16string_view remote;
};
constexpr Renamed kFormats[] = {
    {u"yyyy", u"YYYY"},
    {u"yyyy-mm", u"YYYY-MM"},
    {u"yyyy-mm-dd", u"YYYY-MM-DD"},
    {u"yyyy-mm-dd hh:nn:ss", u"YYYY-MM-DD HH24:MI:SS"},
    {u"hh:nn:ss", u"HH24:MI:SS"},
};

// Functions of one argument.
constexpr Renamed kTextFunctions[] = {
    {u"UCASE", u"upper"}, {u"LCASE", u"lower"}, {u"TRIM", u"btrim"}, {u"LTRIM", u"ltrim"}, {u"RTRIM", u"rtrim"},
};
constexpr Renamed kNumberFunctions[] = {{u"INT", u"floor"}, {u"FIX", u"trunc"}, {u"ABS", u"abs"}};
constexpr Renamed kDateParts[] = {
    {u"YEAR", u"year"}, {u"MONTH", u"month"},   {u"DAY", u"day"},
    {u"HOUR", u"hour"}, {u"MINUTE", u"minute"}, {u"SECOND", u"second"},
};

const Renamed* FindIn(std::span<const Renamed> functions, std::u16string_view name) {
    const auto found = std::ranges::find(functions, name, &Renamed::ours);
    return found == functions.end() ? nullptr : &*found;
}

}  // namespace

RemoteSql::Fragment RemoteSql::PutCall(const sql::ast::Call& call) {
    std::u16string name = ToUpper(call.name);
    if (sql::IsAggregate(name)) return PutAggregate(name, call);
    if (name.ends_with(u'$')) name.pop_back();
    std::vector<Fragment> arguments;
    for (const sql::ast::ExpressionPtr& argument : call.arguments) arguments.push_back(Put(*argument));
    return PutFunction(name, call, arguments);
}

RemoteSql::Fragment RemoteSql::PutAggregate(std::u16string_view name, const sql::ast::Call& call) {
    if (call.star) return {u"count(*)", TypeClass::Whole, true};
    if (call.arguments.size() != 1) return Cannot();
    const Fragment argument = Put(*call.arguments[0]);
    if (name == u"COUNT") return {CallOf(u"count", argument.text), TypeClass::Whole, true};
    const bool sum = name == u"SUM";
    if (sum || name == u"AVG") {
        if (argument.kind != TypeClass::Whole && argument.kind != TypeClass::Number) return Cannot();
        return {CallOf(sum ? u"sum" : u"avg", AsDouble(argument)), TypeClass::Number};
    }
    if (name != u"MIN" && name != u"MAX") return Cannot();
    if (argument.kind == TypeClass::Boolean || argument.kind == TypeClass::Other ||
        argument.collation == TextCollation::Cased)
        return Cannot();
    return {CallOf(name == u"MIN" ? u"min" : u"max", argument.text), argument.kind, false, argument.collation};
}

RemoteSql::Fragment RemoteSql::PutChoice(const Fragment& condition, const Fragment& yes, const Fragment& no) {
    if (yes.kind == TypeClass::Null && no.kind == TypeClass::Null) return {u"NULL", TypeClass::Null};
    const bool numbers = IsNumber(yes.kind) && IsNumber(no.kind) && yes.kind != no.kind;
    if (yes.kind != no.kind && yes.kind != TypeClass::Null && no.kind != TypeClass::Null && !numbers) return Cannot();
    const TypeClass kind = numbers ? TypeClass::Number : yes.kind == TypeClass::Null ? no.kind : yes.kind;
    const TextCollation collation = std::max(yes.collation, no.collation);
    const bool either = yes.kind != TypeClass::Null && no.kind != TypeClass::Null;
    if (either && collation == TextCollation::Cased) return Cannot();  // who groups by them would find both
    const auto shown = [&](const Fragment& fragment) { return numbers ? AsDouble(fragment) : fragment.text; };
    return {u"(CASE WHEN " + AsCondition(condition) + u" THEN " + shown(yes) + u" ELSE " + shown(no) + u" END)", kind,
            false, collation};
}

RemoteSql::Fragment RemoteSql::PutFunction(std::u16string_view name, const sql::ast::Call& call,
                                           const std::vector<Fragment>& arguments) {
    if (name == u"NOW" && arguments.empty()) return PutLiteral(Now());
    if (name == u"DATE" && arguments.empty())
        return PutLiteral(Date{static_cast<double>(static_cast<long>(Now().days))});
    if (arguments.empty()) return Cannot();
    const Fragment& first = arguments[0];
    if (name == u"IIF" && arguments.size() == 3 && (first.kind == TypeClass::Boolean || IsNumber(first.kind))) {
        return PutChoice(first, arguments[1], arguments[2]);
    }
    if (name == u"NZ" && arguments.size() == 2 && first.kind != TypeClass::Null && arguments[1].kind == first.kind) {
        return {CallOf(u"coalesce", first.text + u", " + arguments[1].text), first.kind, arguments[1].required,
                std::max(first.collation, arguments[1].collation)};
    }
    if (name == u"FORMAT" && arguments.size() == 2 && first.kind == TypeClass::Date) {
        const Value* wanted = LiteralIn(*call.arguments[1]);
        for (const Renamed& format : kFormats) {
            if (wanted == nullptr || !wanted->IsText() || !EqualNames(wanted->Text(), format.ours)) continue;
            return {u"coalesce(to_char(" + first.text + u", '" + std::u16string(format.remote) + u"'), '')",
                    TypeClass::Text, true};
        }
    }
    const bool text = first.kind == TypeClass::Text;
    if ((name == u"LEFT" || name == u"RIGHT") && text && arguments.size() == 2 && IsWholeFrom(*call.arguments[1], 0)) {
        return {CallOf(name == u"LEFT" ? u"left" : u"right", first.text + u", " + arguments[1].text), TypeClass::Text,
                false, first.collation};
    }
    if (name == u"MID" && text && arguments.size() > 1 && IsWholeFrom(*call.arguments[1], 1) &&
        (arguments.size() == 2 || IsWholeFrom(*call.arguments[2], 0))) {
        const std::u16string length = arguments.size() == 2 ? std::u16string() : u", " + arguments[2].text;
        return {CallOf(u"substr", first.text + u", " + arguments[1].text + length), TypeClass::Text, false,
                first.collation};
    }
    if (arguments.size() != 1) return Cannot();
    if (name == u"ISNULL") return {InParentheses(first.text + u" IS NULL"), TypeClass::Boolean, true};
    if (name == u"LEN" && text) return {CallOf(u"length", first.text), TypeClass::Whole};
    if (const Renamed* function = FindIn(kTextFunctions, name); function != nullptr && text) {
        return {CallOf(function->remote, first.text), TypeClass::Text, false, first.collation};
    }
    if (const Renamed* function = FindIn(kNumberFunctions, name); function != nullptr) {
        if (first.kind == TypeClass::Number) return {CallOf(function->remote, AsDouble(first)), TypeClass::Number};
        if (first.kind == TypeClass::Whole)
            return name == u"ABS" ? Fragment{CallOf(u"abs", first.text), TypeClass::Whole} : first;
    }
    if (const Renamed* part = FindIn(kDateParts, name); part != nullptr && first.kind == TypeClass::Date) {
        return {Cast(u"extract(" + std::u16string(part->remote) + u" FROM " + first.text + u")", u"integer"),
                TypeClass::Whole};
    }
    // A Double is rounded half to even, as here.
    const bool readable = text || IsNumber(first.kind);
    if (name == u"CINT" && readable) return {Cast(AsDouble(first), u"smallint"), TypeClass::Whole};
    if (name == u"CLNG" && readable) return {Cast(AsDouble(first), u"integer"), TypeClass::Whole};
    if (name == u"CDBL" && readable) return {AsDouble(first), TypeClass::Number};
    if (name == u"CSTR" && first.kind == TypeClass::Whole) return {Cast(first.text, u"text"), TypeClass::Text};
    return Cannot();
}

}  // namespace qmtrain::dao
