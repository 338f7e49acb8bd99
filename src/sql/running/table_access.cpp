#include "sql/running/table_access.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <utility>

#include "core/collation.h"
#include "sql/expressions/like.h"
#include "sql/running/search_key.h"

namespace qmtrain::sql {
namespace {

// Bits that compare as the numbers do.
std::uint64_t OrderedNumber(const Value& value) {
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63U;
    const std::uint64_t bits = NumberBits(value);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// The values in the order of their keys, of those with the same key one.
template <class Key>
std::vector<Value> InOrderOnce(std::vector<Value>& values, Key key, bool backwards) {
    std::vector<std::pair<decltype(key(values[0])), std::size_t>> order;
    order.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) order.emplace_back(key(values[i]), i);
    std::ranges::sort(order);
    const auto same = [](const auto& a, const auto& b) { return a.first == b.first; };
    order.erase(std::unique(order.begin(), order.end(), same), order.end());
    if (backwards) std::ranges::reverse(order);
    std::vector<Value> sorted;
    sorted.reserve(order.size());
    for (const auto& [unused, place] : order) sorted.push_back(std::move(values[place]));
    return sorted;
}

void Engage(std::optional<KeyBound>& bound) {
    if (!bound) bound.emplace();
    bound->values.clear();
    bound->inclusive = true;
}

}  // namespace

void TableAccess::Open() {
    cursor_ = &source_.GetCursor();
    range_count_ = 0;
    at_ = 0;
    repeats_ = false;
    exact_ = !path_.met.empty();
    start_ = path_.parts.empty() ? Start::Whole : Start::Nothing;
    for (const IndexAccess& part : path_.parts) {
        const Start start = AddRanges(part);
        if (start == Start::Nothing) continue;
        start_ = start;
        if (start == Start::Whole) break;
    }
    if (start_ == Start::Ranges && range_count_ > 1) Arrange();
    if (start_ == Start::Ranges) {
        OpenRange();
    } else if (start_ == Start::Whole && path_.ordered) {
        cursor_->Range(path_.parts[0].index, {}, path_.parts[0].backwards);
    } else if (start_ == Start::Whole) {
        cursor_->Scan();
    }
    source_.SetReadsAhead(reads_ahead_ && start_ == Start::Whole && !path_.ordered);
}

void TableAccess::OpenRange() {
    const IndexRange& next = ranges_[at_];
    cursor_->Range(next.index, next.range, path_.parts[0].backwards);
}

bool TableAccess::Next() {
    if (start_ == Start::Nothing) return false;
    for (;;) {
        if (!cursor_->Next()) {
            if (start_ != Start::Ranges || ++at_ >= range_count_) return false;
            OpenRange();
            continue;
        }
        bool added = true;
        if (repeats_) seen_.FindOrAdd(cursor_->Row().value, added);
        if (!added) continue;
        source_.OnRow();
        return true;
    }
}

std::int64_t TableAccess::CountRows() {
    if (repeats_) return RowOperator::CountRows();
    if (start_ == Start::Nothing) return 0;
    if (start_ == Start::Whole) return source_.GetTable()->RowCount();
    std::int64_t rows = cursor_->CountRest();
    while (++at_ < range_count_) {
        OpenRange();
        rows += cursor_->CountRest();
    }
    return rows;
}

const IndexColumn& TableAccess::KeyColumn(const IndexAccess& access, std::size_t place) const {
    return source_.GetTable()->IndexAt(access.index).columns[place];
}

const Column& TableAccess::ColumnOf(const IndexAccess& access, std::size_t place) const {
    return source_.GetTable()->ColumnAt(KeyColumn(access, place).column);
}

TableAccess::IndexRange& TableAccess::NewRange(std::size_t index) {
    if (range_count_ == ranges_.size()) ranges_.emplace_back();
    IndexRange& added = ranges_[range_count_++];
    added.index = index;
    return added;
}

TableAccess::Start TableAccess::AddRanges(const IndexAccess& access) {
    if (access.list != nullptr && !TakeList(access)) return Start::Whole;
    const std::size_t before = range_count_;
    const std::size_t count = access.list != nullptr ? listed_.size() : 1;
    ranges_.reserve(range_count_ + count);
    for (std::size_t i = 0; i < count; ++i) {
        KeyRange& range = NewRange(access.index).range;
        range.kind = KeyRange::Kind::Equal;
        range.high.reset();
        Engage(range.low);
        Start start = SetFixed(access, *range.low, access.list != nullptr ? &listed_[i] : nullptr);
        if (start == Start::Ranges) start = SetEnds(access, range);
        if (start == Start::Whole) return start;
        if (start == Start::Nothing) --range_count_;
    }
    return range_count_ > before ? Start::Ranges : Start::Nothing;
}

// The values of the list in the order of the index, each of them once. False when a scan is as good.
bool TableAccess::TakeList(const IndexAccess& access) {
    const auto rows = static_cast<double>(source_.GetTable()->EstimatedRows());
    constexpr double kAlwaysSome = 10;
    if (!access.list->Collect(static_cast<std::size_t>(std::max(kAlwaysSome, rows / kSeekCost)), listed_)) return false;
    std::erase_if(listed_, [](const Value& value) { return FamilyOf(value.GetType()) == Family::Any; });
    if (listed_.size() < 2) return true;
    const bool descending = KeyColumn(access, access.list_at).descending;
    const bool backwards = descending != access.backwards;
    const auto is_double = [](const Value& value) { return IsExactAsDouble(value.GetType()); };
    if (std::ranges::all_of(listed_, is_double)) {
        listed_ = InOrderOnce(listed_, OrderedNumber, backwards);
    } else {
        const auto key = [](const Value& value) {
            std::vector<std::uint8_t> bytes;
            AppendKey(value, bytes, true);
            return std::string(bytes.begin(), bytes.end());
        };
        listed_ = InOrderOnce(listed_, key, backwards);
    }
    return true;
}

TableAccess::Start TableAccess::SetFixed(const IndexAccess& access, KeyBound& bound, const Value* listed) {
    for (std::size_t i = 0; i < access.equal.size(); ++i) {
        const Column& column = ColumnOf(access, i);
        Expression* equal = access.equal[i];
        assert(equal != nullptr || listed != nullptr);
        const Value& value = equal != nullptr ? equal->Evaluate() : *listed;
        const Family family = FamilyOf(value.GetType());
        if (family == Family::Any) return Start::Nothing;
        // A type that does not compare is an error, but only for a row that is there: let the condition find it.
        if (family != FamilyOf(ValueTypeOf(column.type))) return Start::Whole;
        SearchKey key = SearchKeyFor(column, value, {});
        if (key.kind == SearchKey::Kind::Unknown) return Start::Whole;
        if (key.kind == SearchKey::Kind::Nothing) return Start::Nothing;
        if (key.value.IsText() && key.value.Text().size() > collation::kKeyUnits) exact_ = false;
        bound.values.push_back(std::move(key.value));
    }
    return source_.GetTable()->CanSeek(access.index, bound.values) ? Start::Ranges : Start::Whole;
}

TableAccess::Start TableAccess::SetEnds(const IndexAccess& access, KeyRange& range) {
    if (access.pattern != nullptr) return SetPrefix(access, range);
    if (access.low.value == nullptr && access.high.value == nullptr) return Start::Ranges;
    range.kind = KeyRange::Kind::Between;
    range.high = range.low;
    const Start low = SetEnd(access, access.low, true, range);
    if (low != Start::Ranges) return low;
    const Start high = SetEnd(access, access.high, false, range);
    if (high != Start::Ranges) return high;
    const Table& table = *source_.GetTable();
    const bool found =
        table.CanSeek(access.index, range.low->values) && table.CanSeek(access.index, range.high->values);
    return found ? Start::Ranges : Start::Whole;
}

// A missing end is the place of the Nulls, which are in no range, on one side, and that of all other values on the
// other.
TableAccess::Start TableAccess::SetEnd(const IndexAccess& access, const RangeEnd& end, bool low, KeyRange& range) {
    const std::size_t place = access.equal.size();
    const Column& column = ColumnOf(access, place);
    KeyBound& bound = low != KeyColumn(access, place).descending ? *range.low : *range.high;
    if (end.value != nullptr) {
        const Value& value = end.value->Evaluate();
        const Family family = FamilyOf(value.GetType());
        if (family == Family::Any) return Start::Nothing;
        if (family != FamilyOf(ValueTypeOf(column.type))) return Start::Whole;
        SearchKey key = SearchKeyFor(column, value, {false, low, end.inclusive});
        if (key.kind == SearchKey::Kind::Unknown) return Start::Whole;
        if (key.kind == SearchKey::Kind::Nothing) return Start::Nothing;
        if (key.kind == SearchKey::Kind::Found) {
            if (key.value.IsText() && key.value.Text().size() > collation::kKeyUnits) exact_ = false;
            bound.values.push_back(std::move(key.value));
            bound.inclusive = key.inclusive;
            return Start::Ranges;
        }
    }
    if (low) {
        bound.values.emplace_back(Null{});
        bound.inclusive = false;
    }
    return Start::Ranges;
}

TableAccess::Start TableAccess::SetPrefix(const IndexAccess& access, KeyRange& range) {
    const Value& pattern = access.pattern->Evaluate();
    if (pattern.IsNull()) return Start::Nothing;
    if (!pattern.IsText()) return Start::Whole;
    const std::u16string_view prefix = FixedPrefix(pattern.Text());
    if (prefix.empty()) return Start::Whole;
    range.kind = KeyRange::Kind::Prefix;
    range.low->values.emplace_back(prefix);
    return source_.GetTable()->CanSeek(access.index, range.low->values) ? Start::Ranges : Start::Whole;
}

// Several ranges: single keys of one index are put in its order, each once; other ranges may have rows in common.
void TableAccess::Arrange() {
    const auto rows = static_cast<double>(source_.GetTable()->EstimatedRows());
    constexpr std::size_t kAlwaysSome = 10;
    if (range_count_ > kAlwaysSome && static_cast<double>(range_count_) * kSeekCost > rows) {
        start_ = Start::Whole;
        return;
    }
    const Table& table = *source_.GetTable();
    const auto end = ranges_.begin() + range_count_;
    const IndexRange& first = ranges_.front();
    const std::size_t width = first.range.low ? first.range.low->values.size() : 0;
    const bool one_list = path_.parts.size() == 1;
    const bool in_order = table.InOrder(first.index, width);
    if (one_list && in_order) return;  // sorted as the list was taken
    const bool points = std::all_of(ranges_.begin(), end, [&](const IndexRange& one) {
        return one.index == first.index && one.range.kind == KeyRange::Kind::Equal &&
               one.range.low->values.size() == width;
    });
    if (!points || !in_order) {
        repeats_ = true;
        seen_.Clear();
        return;
    }
    std::vector<std::pair<std::string, std::size_t>> order(range_count_);
    std::vector<std::uint8_t> part;
    for (std::size_t i = 0; i < range_count_; ++i) {
        order[i].second = i;
        for (std::size_t column = 0; column < width; ++column) {
            part.clear();
            AppendKey(ranges_[i].range.low->values[column], part, true);
            const Index& index = table.IndexAt(first.index);
            const bool invert = index.columns[column].descending != path_.parts[0].backwards;
            for (const std::uint8_t byte : part) {
                order[i].first.push_back(static_cast<char>(invert ? ~byte : byte));
            }
        }
    }
    std::ranges::sort(order);
    const auto same = [](const auto& a, const auto& b) { return a.first == b.first; };
    order.erase(std::unique(order.begin(), order.end(), same), order.end());
    std::vector<IndexRange> sorted;
    sorted.reserve(order.size());
    for (const auto& [key, place] : order) sorted.push_back(std::move(ranges_[place]));
    ranges_ = std::move(sorted);
    range_count_ = ranges_.size();
}

std::optional<double> TableAccess::CountInIndex(TableSource& source, const IndexAccess& access) {
    TableAccess look(source, {});
    const Start start = look.AddRanges(access);
    if (start == Start::Nothing) return 0;
    if (start == Start::Whole) return std::nullopt;
    return source.GetTable()->EstimatedRows(access.index, look.ranges_[0].range);
}

void TableAccess::Explain(Explanation& out) const {
    const Table& table = *source_.GetTable();
    if (path_.parts.empty()) {
        const std::u16string request = table.Request();
        out.Add(request.empty() ? u"scan of " + table.Name() : u"rows of " + table.Name() + u" by " + request, *this);
        return;
    }
    if (path_.parts.size() > 1) out.Add(u"union of searches in " + table.Name(), *this);
    for (const IndexAccess& part : path_.parts) {
        const Index& index = table.IndexAt(part.index);
        std::u16string limits;
        const auto add = [&](std::size_t place, std::u16string_view limit) {
            if (!limits.empty()) limits += u", ";
            limits.append(table.ColumnAt(index.columns[place].column).name).append(limit);
        };
        for (std::size_t i = 0; i < part.equal.size(); ++i)
            add(i, part.equal[i] != nullptr ? u" = value" : u" in list");
        const std::size_t next = part.equal.size();
        if (part.pattern != nullptr) add(next, u" with prefix");
        if (part.low.value != nullptr) add(next, part.low.inclusive ? u" >= value" : u" > value");
        if (part.high.value != nullptr) add(next, part.high.inclusive ? u" <= value" : u" < value");
        const bool all = limits.empty();
        std::u16string text = all ? u"walk of " : u"search of ";
        text.append(table.Name()).append(u" by index ").append(index.name);
        if (!all) text.append(u" (").append(limits).append(u")");
        if (path_.ordered) text += u", in its order";
        if (part.backwards) text += u", backwards";
        if (path_.exact && !all) text += u", no further test";
        if (path_.parts.size() > 1)
            out.AddBelow(text);
        else
            out.Add(text, *this);
    }
}

}  // namespace qmtrain::sql
