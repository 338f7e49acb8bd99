#include <algorithm>
#include <array>
#include <iterator>

#include "odbc/statement.h"

namespace qmtrain::odbc {
namespace {

struct Meaning {
    std::u16string_view state;  // or what it begins with
    ErrorNumber number;
};

// Errors that a statement on a file would raise too. The first that fits counts.
constexpr Meaning kMeanings[] = {
    {u"23505", ErrorNumber::DuplicateKey},
    {u"23502", ErrorNumber::FieldRequired},
    {u"22001", ErrorNumber::FieldTooLarge},
    {u"22003", ErrorNumber::Overflow},
    {u"22012", ErrorNumber::DivisionByZero},
    {u"22P02", ErrorNumber::TypeMismatch},
    {u"22007", ErrorNumber::TypeMismatch},
    {u"22008", ErrorNumber::TypeMismatch},
    {u"42501", ErrorNumber::ReadOnly},
    {u"25006", ErrorNumber::ReadOnly},
    {u"42P01", ErrorNumber::NoSuchTable},
    {u"42S02", ErrorNumber::NoSuchTable},
    {kCompletionUnknown, ErrorNumber::OdbcCallFailed},
    {u"40", ErrorNumber::RecordChanged},
    {u"57014", ErrorNumber::OperationCancelled},
    {u"55P03", ErrorNumber::LockedByOther},
};

// What stands in quotes first, such as the name of a column or an index.
std::u16string Quoted(std::u16string_view text) {
    const std::size_t begin = text.find(u'"');
    const std::size_t end = begin == text.npos ? text.npos : text.find(u'"', begin + 1);
    return end == text.npos ? std::u16string() : std::u16string(text.substr(begin + 1, end - begin - 1));
}

}  // namespace

Diagnostics DiagnosticsOf(const Library& library, SQLSMALLINT kind, SQLHANDLE handle) {
    Diagnostics diagnostics;
    std::array<char16_t, 6> state{};
    std::array<char16_t, 512> text{};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (Succeeded(library.GetDiagRec(kind, handle, 1, ToWide(state.data()), &native, ToWide(text.data()),
                                     static_cast<SQLSMALLINT>(text.size()), &length))) {
        diagnostics.state = state.data();
        diagnostics.text = text.data();
    }
    return diagnostics;
}

bool MeansLost(const Diagnostics& diagnostics) {
    constexpr std::u16string_view kLost[] = {u"08", u"57P", u"HYT01", u"IM"};
    return std::ranges::any_of(kLost, [&](std::u16string_view state) { return diagnostics.state.starts_with(state); });
}

void RaiseFor(const Diagnostics& diagnostics, const Doing& doing, std::u16string_view place) {
    const std::u16string_view text = diagnostics.text;
    if (MeansLost(diagnostics)) Raise(ErrorNumber::OdbcConnectionFailed, {place, text});
    const std::u16string table = doing.table.empty() ? Quoted(text) : std::u16string(doing.table);
    if (diagnostics.state == u"23503") {
        const bool deletes = doing.failure == ErrorNumber::OdbcDeleteFailed;
        Raise(deletes ? ErrorNumber::RelatedRecordsExist : ErrorNumber::RelatedRecordRequired, {table, text});
    }
    const bool only_reads = doing.failure == ErrorNumber::OdbcCallFailed;
    if (diagnostics.state == u"21000" && !only_reads) {
        Raise(ErrorNumber::ReadOnly,
              {doing.table, u"服务器上有几条记录的键与此相同：表已没有链接建立时的主键，请刷新链接。"});
    }
    const auto meaning = std::ranges::find_if(
        kMeanings, [&](const Meaning& known) { return diagnostics.state.starts_with(known.state); });
    if (meaning == std::end(kMeanings) || (meaning->number == ErrorNumber::ReadOnly && only_reads)) {
        if (only_reads) Raise(doing.failure, {text});
        Raise(doing.failure, {doing.table, text});
    }
    switch (meaning->number) {
        case ErrorNumber::DuplicateKey:
        case ErrorNumber::FieldRequired: Raise(meaning->number, {Quoted(text), text});
        case ErrorNumber::FieldTooLarge:
        case ErrorNumber::ReadOnly:
        case ErrorNumber::NoSuchTable: Raise(meaning->number, {table, text});
        case ErrorNumber::LockedByOther: Raise(meaning->number, {place, text});
        default: Raise(meaning->number, {text});
    }
}

}  // namespace qmtrain::odbc
