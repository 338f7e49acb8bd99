// Lists of HTML: what stands before their items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/list_numbers.h"

namespace qmtrain::exchange {

// Those that a reader is in.
class OpenLists {
public:
    using Attributes = std::function<std::optional<std::u16string>(std::string_view name)>;

    void Open(bool numbered, const Attributes& attributes);
    void Close();
    // How deep the text stands, at least 1 for an item without a list.
    int Level() const;
    std::u16string NextBullet(const Attributes& attributes);

    // Whether a list was numbered backwards from the number of its items, which is not known yet: it is numbered from 1
    // upwards instead.
    bool LostReversedNumbering() const { return lost_reversed_numbering_; }

private:
    struct List {
        std::optional<Numbering> numbering;
        std::u16string marker;
        std::int32_t next = 1;
        std::int32_t step = 1;
    };
    std::vector<List> lists_;
    bool lost_reversed_numbering_ = false;
};

// The elements of lists around paragraphs that have bullets and levels. A list within another stands in its item.
class ListTags {
public:
    explicit ListTags(std::u16string& out) : out_(out) {}

    // Up to the place for the item's text; `style` goes into its element.
    void BeginItem(std::size_t level, std::u16string_view bullet, std::u16string_view style);
    void CloseAll() { CloseTo(0); }

private:
    struct List {
        bool numbered = false;
        std::optional<ItemNumber> last;
    };
    void CloseTo(std::size_t level);

    std::u16string& out_;
    std::vector<List> lists_;
};

}  // namespace qmtrain::exchange
