#include "sql/binding/scope.h"

#include "core/error.h"
#include "core/text.h"
#include "sql/print.h"

namespace qmtrain::sql {

void Scope::Add(std::u16string name, Source& source) {
    constexpr std::size_t kMaxSources = 64;
    for (const Entry& entry : entries_) {
        if (!name.empty() && EqualNames(entry.name, name)) Raise(ErrorNumber::SyntaxInFromClause, {name});
    }
    if (entries_.size() == kMaxSources) Raise(ErrorNumber::QueryTooComplex, {name});
    entries_.push_back({std::move(name), &source});
}

std::vector<Source*> Scope::Sources() const {
    std::vector<Source*> sources;
    for (const Entry& entry : entries_) sources.push_back(entry.source);
    return sources;
}

bool Scope::Find(const ast::ColumnName& name, Match& match) const {
    bool found = false;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (!name.table.empty() && !EqualNames(entries_[i].name, name.table)) continue;
        const std::vector<ColumnInfo>& columns = entries_[i].source->Columns();
        for (std::size_t c = 0; c < columns.size(); ++c) {
            if (!EqualNames(columns[c].name, name.name)) continue;
            if (found && match.entry != i) Raise(ErrorNumber::FieldNameAmbiguous, {name.name});
            if (!found) match = {i, c};
            found = true;
        }
    }
    return found;
}

std::u16string Scope::CanonicalColumn(const Match& match) {
    std::u16string text(1, u'#');
    text += ToText(match.entry);
    text += u'.';
    text += ToText(match.column);
    return text;
}

std::u16string Scope::CanonicalText(const ast::Expression& expression) const {
    return Print(expression, [this](const ast::ColumnName& name) {
        Match match;
        if (Find(name, match)) return CanonicalColumn(match);
        std::u16string text(1, u'[');
        text += FoldName(name.table);
        text += u"].[";
        text += FoldName(name.name);
        text += u']';
        return text;
    });
}

}  // namespace qmtrain::sql
