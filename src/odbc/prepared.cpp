#include "odbc/prepared.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <span>
#include <utility>

namespace qmtrain::odbc {
namespace {

constexpr std::size_t kMostTexts = 256;
constexpr std::size_t kMostPrepared = 64;  // each takes some memory of the server's

std::atomic<unsigned> times_outdated = 0;

// A column that is yielded has another type now; a value is none of the type that it is taken for.
constexpr std::u16string_view kNoLongerFit[] = {u"0A000", u"22P02", u"22003", u"22007", u"22008"};

// The type of a value is none that the column takes, or can be compared with.
constexpr std::u16string_view kUnfit[] = {u"42804", u"42883"};

bool IsOneOf(std::u16string_view state, std::span<const std::u16string_view> states) {
    return std::ranges::find(states, state) != states.end();
}

// The same in every process.
std::uint64_t HashOf(std::u16string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char16_t unit : text) {
        hash = (hash ^ (unit & 0xFF)) * 0x100000001B3;
        hash = (hash ^ (unit >> 8)) * 0x100000001B3;
    }
    return hash;
}

// What follows the name where a statement is prepared: the types of its values, and its text.
std::u16string DeclarationOf(const Request& request) {
    std::u16string declaration;
    for (const GivenValue& value : request.values) {
        declaration += &value == request.values.data() ? u'(' : u',';
        declaration += value.type;
    }
    return declaration.append(u") AS ").append(request.text);
}

}  // namespace

PreparedStatements::Entry::Entry(std::u16string_view declaration) : name_(u"qm_") {
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    for (std::uint64_t rest = HashOf(declaration); rest != 0; rest >>= 4) name_ += kDigits[rest & 15];
}

std::vector<std::u16string> PreparedStatements::Entry::Preparing(const Request& request) const {
    std::vector<std::u16string> statements;
    if (is_old_) statements.push_back(u"DEALLOCATE " + name_);
    if (!is_there_) statements.push_back(u"PREPARE " + name_ + DeclarationOf(request));
    return statements;
}

std::u16string PreparedStatements::Entry::Calling(const Request& request) const {
    std::u16string text = u"EXECUTE " + name_;
    for (const GivenValue& value : request.values) {
        text += &value == request.values.data() ? u'(' : u',';
        text += value.text;
    }
    return text + u")";
}

void PreparedStatements::Entry::Called() {
    is_there_ = true;
    is_old_ = false;
}

bool PreparedStatements::Entry::Correct(std::u16string_view state) {
    if (state == u"42P05") {  // somebody else has prepared it
        is_there_ = true;
        return true;
    }
    if (state == u"26000") {  // it is not there
        is_there_ = is_old_ = false;
        return true;
    }
    if (is_there_ && IsOneOf(state, kNoLongerFit)) {
        is_there_ = false;
        is_old_ = true;
        return true;
    }
    if (IsOneOf(state, kUnfit)) unfit_ = true;
    return unfit_;
}

void PreparedStatements::OutdateAll() {
    ++times_outdated;
}

void PreparedStatements::TakeOutdating() {
    const unsigned times = times_outdated;
    if (std::exchange(seen_, times) == times) return;
    for (auto& [declaration, entry] : entries_) {
        entry.is_old_ = entry.is_old_ || entry.is_there_;
        entry.is_there_ = entry.unfit_ = false;
    }
}

PreparedStatements::Entry* PreparedStatements::Use(const Request& request) {
    if (request.values.empty()) return nullptr;
    TakeOutdating();
    const std::u16string declaration = DeclarationOf(request);
    auto known = entries_.find(declaration);
    if (known == entries_.end()) {
        if (entries_.size() >= kMostTexts) {
            std::erase_if(entries_, [](const auto& entry) { return entry.second.uses_ < 2; });
        }
        known = entries_.emplace(declaration, Entry(declaration)).first;
    }
    Entry& entry = known->second;
    if (entry.unfit_) return nullptr;
    if (entry.uses_ == 2) return &entry;
    if (entry.uses_ == 1 && prepared_ == kMostPrepared) return nullptr;
    if (++entry.uses_ < 2) return nullptr;
    ++prepared_;
    return &entry;
}

}  // namespace qmtrain::odbc
