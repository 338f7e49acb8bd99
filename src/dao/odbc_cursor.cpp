#include "dao/odbc_cursor.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "dao/row_spool.h"

namespace qmtrain::dao {
namespace {

// Reads a request's rows, each whole: a value can be had from the library only once.
class RequestCursor : public sql::Cursor {
public:
    RequestCursor(OdbcServer& server, const std::vector<sql::Column>& columns) : server_(server), columns_(columns) {}

    void Range(std::size_t, const sql::KeyRange&, bool) override { Raise(ErrorNumber::NoCurrentIndex); }
    void Read(std::size_t column, Value& value) override { value = (*shown_)[column]; }

protected:
    // The library holds the whole answer.
    void Ask(const odbc::Request& request) {
        many_.reset();
        result_.rows.reset();
        result_ = server_.Query(request);
        Expect(*result_.rows);
    }

    // Of the last Ask(), where the library knows it.
    std::int64_t RowsAnswered() { return result_.rows->Count().value_or(0); }

    // Of a request whose rows nobody has counted, so many at first; if there are more, all of them, which wait here
    // then: no transaction stays open for them. Where the server has to calculate them more come at first, for to
    // calculate them again costs more than they do, and for a cursor it does not take several processors.
    void AskForAny(const odbc::Request& request, Extent extent) {
        if (extent == Extent::Few) return Ask(request);
        constexpr std::int64_t kMostAtOnce = 2000;
        constexpr std::int64_t kMostOfWork = 50'000;
        const std::int64_t most = extent == Extent::Work ? kMostOfWork : kMostAtOnce;
        const std::u16string limit = u" LIMIT " + ToText(most + 1);
        const bool plain = extent == Extent::Whole || extent == Extent::Some;
        Ask({plain ? request.text + limit : u"SELECT * FROM (" + request.text + u") AS rows" + limit, request.values});
        if (result_.rows->Count().value_or(most + 1) <= most) return;
        result_ = {};
        AskForMany(request);
    }

    bool Take() {
        steps_.Next();
        if (many_ ? taken_ == many_->Size() : !result_.rows || !result_.rows->Next()) {
            many_.reset();
            result_.rows.reset();
            return false;
        }
        row_.resize(columns_.size());
        if (many_)
            many_->Get(taken_++, row_);
        else
            ReadRow(*result_.rows);
        shown_ = &row_;
        return true;
    }

    OdbcServer& server_;
    const std::vector<sql::Column>& columns_;
    std::vector<Value> row_;
    const std::vector<Value>* shown_ = &row_;

private:
    void Expect(odbc::Rows& rows) const {
        std::vector<odbc::ResultColumn> expected;
        for (const sql::Column& column : columns_) expected.push_back({column.type, column.size, column.name});
        rows.Expect(std::move(expected));
    }
    void ReadRow(odbc::Rows& rows) {
        for (std::size_t i = 0; i < columns_.size(); ++i) rows.Read(i, columns_[i].type, row_[i]);
    }
    void Store(odbc::Rows& rows) {
        steps_.Next();
        row_.resize(columns_.size());
        ReadRow(rows);
        many_->Begin();
        for (const Value& value : row_) many_->Append(value);
        many_->End();
        held_.Cover(many_->HeldBytes());
    }

    void AskForMany(const odbc::Request& request) {
        server_.QueryInParts(
            request,
            [&] {
                many_.emplace();
                taken_ = 0;
            },
            [&](odbc::Rows& rows) {
                Expect(rows);
                while (rows.Next()) Store(rows);
            });
    }

    OdbcServer::QueryResult result_;
    std::optional<RowSpool> many_;  // instead of an answer
    std::size_t taken_ = 0;         // of them
    HeldMemory held_;
    WorkSteps steps_;
};

class ResultCursor : public RequestCursor {
public:
    ResultCursor(std::shared_ptr<OdbcServer> server, odbc::Request request, Extent extent,
                 const std::vector<sql::Column>& columns)
        : RequestCursor(*server, columns),
          kept_alive_(std::move(server)),
          request_(std::move(request)),
          extent_(extent) {}

    void Scan() override {
        rows_.clear();
        number_ = 0;
        AskForAny(request_, extent_);
    }
    bool Next() override {
        if (!Take()) return false;
        ++number_;
        return true;
    }
    void Keep() override { rows_.try_emplace(number_, *shown_); }
    sql::RowId Row() const override { return {number_}; }
    bool MoveTo(sql::RowId row) override {
        const auto kept = rows_.find(row.value);
        if (kept == rows_.end()) return false;
        number_ = row.value;
        shown_ = &kept->second;
        return true;
    }

private:
    std::shared_ptr<OdbcServer> kept_alive_;
    odbc::Request request_;
    Extent extent_;
    std::map<std::uint32_t, std::vector<Value>> rows_;
    std::uint32_t number_ = 0;
};

class LinkCursor : public RequestCursor {
public:
    LinkCursor(std::shared_ptr<OdbcLink> link, odbc::Request request, Extent extent)
        : RequestCursor(*link->server, link->columns),
          link_(std::move(link)),
          request_(std::move(request)),
          extent_(extent),
          in_pages_(extent == Extent::Whole && !link_->key.empty()) {}

    void Scan() override {
        constexpr std::int64_t kFirstPage = 256;
        kept_.clear();
        if (!in_pages_) return AskForAny(request_, extent_);
        page_ = left_in_page_ = kFirstPage;
        AskForPage({});
    }
    bool Next() override {
        constexpr std::int64_t kLargestPage = 4096;
        row_id_ = {};
        if (in_pages_ && left_in_page_ == 0) {
            page_ = left_in_page_ = std::min(page_ * 4, kLargestPage);
            AskForPage(link_->KeyText(row_));
        }
        if (!Take()) return false;
        --left_in_page_;
        return true;
    }

    // Without a key a row is known by its place among those kept.
    void Keep() override {
        if (link_->key.empty()) row_id_ = {static_cast<std::uint32_t>(kept_.size() + 1)};
        const auto [kept, is_new] = kept_.try_emplace(Row().value, *shown_);
        if (!is_new && kept->second != *shown_) link_->LoseKey();
    }
    sql::RowId Row() const override {
        if (row_id_.value == 0 && !link_->key.empty()) row_id_ = link_->rows.NumberOf(link_->KeyText(*shown_));
        return row_id_;
    }

    // A row that was kept is shown as it was; of any other the server is asked.
    bool MoveTo(sql::RowId row) override {
        row_id_ = row;
        if (const auto kept = kept_.find(row.value); kept != kept_.end()) {
            shown_ = &kept->second;
            return true;
        }
        if (link_->key.empty()) return false;
        if (const auto fetched = fetched_.find(row.value); fetched != fetched_.end()) {
            const std::optional<std::vector<Value>> values = std::move(fetched->second);
            fetched_.erase(fetched);
            if (!values) return false;
            row_ = *values;
            shown_ = &row_;
            return true;
        }
        odbc::Request request{link_->Select() + u" WHERE ", {}};
        link_->AddIsRow(request, row);
        Ask(request);
        if (RowsAnswered() > 1) link_->LoseKey();
        return Take();
    }

    void Prefetch(std::span<const sql::RowId> rows) override {
        fetched_.clear();
        if (rows.empty()) return;
        Ask({link_->Select() + u" WHERE " + link_->IsOneOf(rows), {}});
        for (const sql::RowId row : rows) fetched_[row.value];
        while (Take()) {
            auto& fetched = fetched_[link_->rows.NumberOf(link_->KeyText(row_)).value];
            if (fetched) link_->LoseKey();
            fetched = row_;
        }
    }

private:
    void AskForPage(std::u16string_view after) {
        try {
            Ask({request_.text + link_->Page(after, page_), {}});
        } catch (const AutomationError& error) {
            if (!after.empty() && error.Is(ErrorNumber::DivisionByZero)) link_->LoseKey();
            throw;
        }
    }

    std::shared_ptr<OdbcLink> link_;
    odbc::Request request_;
    Extent extent_;
    bool in_pages_;
    std::int64_t page_ = 0;
    std::int64_t left_in_page_ = 0;
    std::map<std::uint32_t, std::vector<Value>> kept_;
    std::map<std::uint32_t, std::optional<std::vector<Value>>> fetched_;  // nothing: the row is no longer there
    mutable sql::RowId row_id_;                                           // none: it is not known yet
};

}  // namespace

std::unique_ptr<sql::Cursor> CursorOverLink(std::shared_ptr<OdbcLink> link, const odbc::Request& request,
                                            Extent extent) {
    return std::make_unique<LinkCursor>(std::move(link), request, extent);
}

std::unique_ptr<sql::Cursor> CursorOverResult(std::shared_ptr<OdbcServer> server, const odbc::Request& request,
                                              Extent extent, const std::vector<sql::Column>& columns) {
    return std::make_unique<ResultCursor>(std::move(server), request, extent, columns);
}

}  // namespace qmtrain::dao
