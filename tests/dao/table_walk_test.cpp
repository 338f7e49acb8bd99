// A table is walked while it changes, here and elsewhere: compared with a sorted set, step by step.

#include <optional>
#include <random>
#include <set>
#include <utility>

#include "fixture.h"

namespace qmtrain::dao {
namespace {

using Row = std::pair<std::int32_t, std::int32_t>;  // key, id

// The record set as it should be: all rows in order, and where the current one stands or stood.
class Model {
public:
    bool Eof() const { return place_ == Place::After || (place_ == Place::Before && rows.empty()); }
    bool Bof() const { return place_ == Place::Before || (place_ == Place::After && rows.empty()); }
    bool IsOnRow() const { return place_ == Place::On && rows.contains(current); }

    void GoTo(const Row& row) {
        current = row;
        place_ = Place::On;
    }

    // False where there is no row to move to or from.
    bool Move(bool forward) {
        if (place_ == (forward ? Place::After : Place::Before)) return false;
        if (forward) {
            const auto next = place_ == Place::Before ? rows.begin() : rows.upper_bound(current);
            if (next == rows.end())
                place_ = Place::After;
            else
                GoTo(*next);
            return true;
        }
        auto next = place_ == Place::After ? rows.end() : rows.lower_bound(current);
        if (next == rows.begin())
            place_ = Place::Before;
        else
            GoTo(*--next);
        return true;
    }

    bool End(bool last) {
        if (rows.empty()) return false;
        GoTo(last ? *rows.rbegin() : *rows.begin());
        return true;
    }

    std::set<Row> rows;
    Row current;

private:
    enum class Place : std::uint8_t { Before, On, After };
    Place place_ = Place::On;
};

class TableWalkTest : public DaoTest, public testing::WithParamInterface<const char16_t*> {};

TEST_P(TableWalkTest, AgreesWithASortedSet) {
    database_->ExecuteScript(
        u"CREATE TABLE T (Id LONG PRIMARY KEY, K LONG, Filler TEXT(200)); CREATE INDEX KI ON T (K" +
        std::u16string(GetParam()) + u", Id)");
    const bool descending = std::u16string_view(GetParam()) == u" DESC";
    const auto other = JetDatabase::Open(Name(u"Client.mdb"));
    const std::u16string filler(150, u'f');
    std::mt19937 random(7);
    const auto dice = [&](std::int32_t sides) {
        return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(sides));
    };
    const auto key_of = [&](std::int32_t k) { return descending ? -k : k; };
    Model model;
    std::int32_t last_id = 0;
    const auto insert = [&](JetDatabase& into) {
        const std::int32_t k = dice(20);
        into.Execute(u"INSERT INTO T VALUES (" + ToText(++last_id) + u", " + ToText(k) + u", '" + filler + u"')");
        model.rows.insert({key_of(k), last_id});
    };
    for (int i = 0; i < 60; ++i) insert(*database_);
    const auto rows = database_->OpenRecordset(u"T", RecordsetType::Table);
    rows->Index(u"KI");
    model.End(false);
    const auto no_row = static_cast<std::int32_t>(ErrorNumber::NoCurrentRecord);
    for (int step = 0; step < 1500; ++step) {
        const std::int32_t what = dice(12);
        const std::string name = "step " + std::to_string(step) + " kind " + std::to_string(what);
        if (what < 3) {
            EXPECT_EQ(ErrorOf([&] { rows->MoveNext(); }), model.Move(true) ? 0 : no_row) << name;
        } else if (what < 6) {
            EXPECT_EQ(ErrorOf([&] { rows->MovePrevious(); }), model.Move(false) ? 0 : no_row) << name;
        } else if (what == 6) {
            const bool last = dice(2) == 1;
            EXPECT_EQ(ErrorOf([&] { last ? rows->MoveLast() : rows->MoveFirst(); }), model.End(last) ? 0 : no_row);
        } else if (what == 7) {
            const std::int32_t k = dice(22) - 1;
            const Value key(k);
            rows->Seek(u">=", {&key, 1});
            const auto found = model.rows.lower_bound({key_of(k), 0});
            EXPECT_EQ(rows->NoMatch(), found == model.rows.end()) << name;
            if (found != model.rows.end()) model.GoTo(*found);
        } else if (what == 8) {
            insert(dice(2) == 0 ? *database_ : *other);
        } else if (what == 9 && !model.rows.empty()) {
            auto gone = model.rows.begin();
            std::advance(gone, dice(static_cast<std::int32_t>(model.rows.size())));
            other->Execute(u"DELETE FROM T WHERE Id = " + ToText(gone->second));
            model.rows.erase(gone);
        } else if (model.IsOnRow() && what == 10) {
            rows->Delete();
            model.rows.erase(model.current);
        } else if (model.IsOnRow() && what == 11) {
            const std::int32_t k = dice(20);
            rows->Edit();
            rows->Fields(u"K").Value(k);
            rows->Update();
            model.rows.erase(model.current);
            model.GoTo({key_of(k), model.current.second});
            model.rows.insert(model.current);
        }
        ASSERT_EQ(rows->Eof(), model.Eof()) << name;
        ASSERT_EQ(rows->Bof(), model.Bof()) << name;
        ASSERT_EQ(rows->RecordCount(), static_cast<std::int32_t>(model.rows.size())) << name;
        if (!model.IsOnRow()) continue;
        ASSERT_EQ(rows->Fields(u"Id").Value(), Value(model.current.second)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, TableWalkTest, testing::Values(u"", u" DESC"),
                         [](const auto& order) { return order.index == 0 ? "Ascending" : "Descending"; });

}  // namespace
}  // namespace qmtrain::dao
