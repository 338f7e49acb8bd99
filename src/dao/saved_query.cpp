#include "dao/saved_query.h"

#include <algorithm>
#include <vector>

#include "core/error.h"
#include "core/text.h"
#include "dao/query_clauses.h"
#include "dao/types.h"
#include "jet/database.h"
#include "jet/row_cursor.h"

namespace qmtrain::dao {
namespace {

struct Part {
    int clause = 0;
    Bytes order;
    std::u16string name1;
    std::u16string name2;
    std::u16string expression;
    int flag = 0;
};

std::u16string TextOf(const Value& value) {
    return value.IsText() ? value.Text() : std::u16string();
}

std::vector<Part> PartsOf(jet::Database& database, std::int32_t id) {
    const auto table = database.SystemTable(jet::kQueriesPage);
    const auto column = [&](std::u16string_view name) {
        const std::size_t position = table->Definition().FindColumn(name);
        if (position == kNoPosition)
            Raise(ErrorNumber::FileDamaged, {database.FileName(), u"系统表缺少列“" + std::u16string(name) + u"”。"});
        return position;
    };
    std::vector<Part> parts;
    jet::RowCursor cursor(*table);
    Value value;
    for (cursor.Scan(); cursor.Next();) {
        cursor.Read(column(u"ObjectId"), value);
        if (value != Value(id)) continue;
        Part part;
        cursor.Read(column(u"Attribute"), value);
        if (value.GetType() == Value::Type::Byte) part.clause = value.As<std::uint8_t>();
        cursor.Read(column(u"Order"), value);
        if (value.GetType() == Value::Type::Binary) part.order = value.Binary();
        cursor.Read(column(u"Name1"), value);
        part.name1 = TextOf(value);
        cursor.Read(column(u"Name2"), value);
        part.name2 = TextOf(value);
        cursor.Read(column(u"Expression"), value);
        part.expression = TextOf(value);
        cursor.Read(column(u"Flag"), value);
        if (value.GetType() == Value::Type::Integer) part.flag = value.As<std::int16_t>();
        parts.push_back(std::move(part));
    }
    std::stable_sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) {
        return std::lexicographical_compare(a.order.begin(), a.order.end(), b.order.begin(), b.order.end());
    });
    return parts;
}

std::u16string Bracketed(const std::u16string& name) {
    return u"[" + name + u"]";
}

// A parameter's type by DAO's number of it; Value where it has none.
std::u16string_view TypeName(int number) {
    constexpr std::u16string_view kTypes[] = {u"VALUE",    u"BIT",        u"BYTE",   u"SHORT",    u"LONG",
                                              u"CURRENCY", u"SINGLE",     u"DOUBLE", u"DATETIME", u"BINARY",
                                              u"TEXT",     u"LONGBINARY", u"MEMO"};
    if (number == static_cast<int>(FieldType::Guid)) return u"GUID";
    if (number == static_cast<int>(FieldType::Decimal)) return u"DECIMAL";
    return number > 0 && number < static_cast<int>(std::size(kTypes)) ? kTypes[number] : kTypes[0];
}

// Puts the statement together again from its parts.
class SelectBuilder {
public:
    explicit SelectBuilder(std::vector<Part> parts) : parts_(std::move(parts)) {}

    std::u16string Build() {
        std::u16string text = Parameters() + u"SELECT " + Options();
        std::u16string outputs = List(Clause::Output, [](const Part& part) {
            return part.name1.empty() ? part.expression : part.expression + u" AS " + Bracketed(part.name1);
        });
        if (all_columns_) outputs = outputs.empty() ? u"*" : outputs + u", *";
        text += outputs;
        const std::u16string tables = From();
        if (!tables.empty()) text += u" FROM " + tables;
        Append(text, u" WHERE ", Clause::Where);
        Append(text, u" GROUP BY ", Clause::GroupBy);
        Append(text, u" HAVING ", Clause::Having);
        const std::u16string order = List(Clause::OrderBy, [](const Part& part) {
            return EqualNames(part.name1, u"D") ? part.expression + u" DESC" : part.expression;
        });
        return order.empty() ? text : text + u" ORDER BY " + order;
    }

private:
    std::vector<Part*> Of(Clause clause) {
        std::vector<Part*> found;
        for (Part& part : parts_) {
            if (part.clause == static_cast<int>(clause)) found.push_back(&part);
        }
        return found;
    }

    template <class Print>
    std::u16string List(Clause clause, Print print) {
        std::u16string text;
        for (const Part* part : Of(clause)) text += (text.empty() ? u"" : u", ") + print(*part);
        return text;
    }

    void Append(std::u16string& text, std::u16string_view keyword, Clause clause) {
        const std::u16string list = List(clause, [](const Part& part) { return part.expression; });
        if (!list.empty()) text.append(keyword).append(list);
    }

    // Their types are DAO's numbers.
    std::u16string Parameters() {
        const std::u16string list = List(Clause::Parameter, [&](const Part& part) {
            return Bracketed(part.name1) + u" " + std::u16string(TypeName(part.flag));
        });
        return list.empty() ? list : u"PARAMETERS " + list + u"; ";
    }

    std::u16string Options() {
        std::u16string text;
        for (const Part* part : Of(Clause::Options)) {
            all_columns_ = all_columns_ || (part->flag & kAllColumns) != 0;
            if ((part->flag & kDistinct) != 0) text += u"DISTINCT ";
            if ((part->flag & kDistinctRow) != 0) text += u"DISTINCTROW ";
            if ((part->flag & kTop) != 0)
                text += u"TOP " + part->name1 + ((part->flag & kPercent) != 0 ? u" PERCENT " : u" ");
        }
        return text;
    }

    // A table, and the tables already joined to it.
    struct Joined {
        std::vector<std::u16string> names;
        std::u16string text;
    };

    std::u16string From() {
        std::vector<Joined> groups;
        for (const Part* part : Of(Clause::Table)) {
            const std::u16string table = part->name1.empty() ? u"(" + part->expression + u")" : Bracketed(part->name1);
            const std::u16string& name = part->name2.empty() ? part->name1 : part->name2;
            groups.push_back({{name}, part->name2.empty() ? table : table + u" AS " + Bracketed(part->name2)});
        }
        for (const Part* part : Of(Clause::Join)) {
            const std::size_t left = Find(groups, part->name1);
            const std::size_t right = Find(groups, part->name2);
            if (left == right) {  // a further condition between tables that are joined already
                extra_.push_back(part->expression);
                continue;
            }
            const std::u16string kind = part->flag == 2   ? u" LEFT JOIN "
                                        : part->flag == 3 ? u" RIGHT JOIN "
                                                          : u" INNER JOIN ";
            groups[left].text =
                u"(" + groups[left].text + kind + groups[right].text + u" ON " + part->expression + u")";
            groups[left].names.insert(groups[left].names.end(), groups[right].names.begin(), groups[right].names.end());
            groups.erase(groups.begin() + right);
        }
        std::u16string text;
        for (const Joined& group : groups) text += (text.empty() ? u"" : u", ") + group.text;
        for (const std::u16string& condition : extra_) {
            Part where;
            where.clause = static_cast<int>(Clause::Where);
            const auto present = Of(Clause::Where);
            if (present.empty()) {
                where.expression = condition;
                parts_.push_back(where);
            } else {
                present[0]->expression = u"(" + present[0]->expression + u") AND (" + condition + u")";
            }
        }
        return text;
    }

    static std::size_t Find(const std::vector<Joined>& groups, const std::u16string& name) {
        for (std::size_t i = 0; i < groups.size(); ++i) {
            for (const std::u16string& known : groups[i].names) {
                if (EqualNames(known, name)) return i;
            }
        }
        Raise(ErrorNumber::NoSuchTable, {name});
    }

    std::vector<Part> parts_;
    std::vector<std::u16string> extra_;
    bool all_columns_ = false;
};

}  // namespace

std::optional<std::u16string> SelectOfQuery(jet::Database& database, std::u16string_view name) {
    const auto object = database.FindObject(name);
    if (!object || object->type != jet::CatalogObject::kQuery) return std::nullopt;
    constexpr std::int32_t kHidden = 0x8;
    if ((object->flags & 0xFF & ~kHidden) != 0)
        Raise(ErrorNumber::OperationNotSupported, {u"查询“" + object->name + u"”不是选择查询。"});
    return SelectBuilder(PartsOf(database, object->id)).Build();
}

}  // namespace qmtrain::dao
