#include "odbc/savepoints.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace qmtrain::odbc {
namespace {

std::u16string Set(const std::u16string& name) {
    return u"SAVEPOINT " + name;
}

// Those that were set after it go with it.
std::u16string Release(const std::u16string& name) {
    return u"RELEASE SAVEPOINT " + name;
}

}  // namespace

// That of a level tells it from the others.
std::u16string Savepoints::NewName() {
    return u"p" + ToText(++names_);
}

void Savepoints::Clear() {
    *this = {};
}

void Savepoints::OpenLevel() {
    levels_.push_back(NewName());
}

void Savepoints::Merge(std::size_t levels) {
    if (levels_.size() > levels) levels_.resize(levels);
}

std::u16string Savepoints::Undo(std::size_t levels) {
    std::u16string place;
    if (levels_.size() > levels) {
        const auto point = std::ranges::find(known_, levels_[levels]);
        if (point != known_.end()) {
            place = *point;
            known_.erase(point + 1, known_.end());
        }
        levels_.resize(levels);
    }
    return place;
}

Savepoints::Message Savepoints::Next() {
    const auto is_level = [&](const std::u16string& name) { return std::ranges::find(levels_, name) != levels_.end(); };
    Message message;
    after_ = known_;
    // Levels that have ended: all that follows the last point of those that have not.
    const auto last = std::find_if(after_.rbegin(), after_.rend(), is_level);
    const auto ended = last.base();
    if (after_.end() - ended > 1) {
        message.before.push_back(Release(*ended));
        after_.erase(ended, after_.end());
        after_.push_back(NewName());
        message.before.push_back(Set(after_.back()));
        message.places.push_back(after_.back());
    }
    between_ = after_;
    if (!known_.empty()) message.places.push_back(known_.back());
    for (const std::u16string& level : levels_) {
        if (std::ranges::find(after_, level) != after_.end()) continue;
        message.before.push_back(Set(level));
        after_.push_back(level);
    }
    if (!after_.empty() && !is_level(after_.back())) {
        message.after.push_back(Release(after_.back()));
        after_.pop_back();
    }
    after_.push_back(NewName());
    message.after.push_back(Set(after_.back()));
    return message;
}

void Savepoints::Succeeded() {
    known_ = std::move(after_);
}

void Savepoints::WentBackTo(const std::u16string& place) {
    if (place != known_.back()) known_ = std::move(between_);
}

}  // namespace qmtrain::odbc
