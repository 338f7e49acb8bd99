// Record sets of our own engine.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dao/jet_field.h"
#include "dao/navigator.h"
#include "dao/recordset.h"
#include "dao/row_edit.h"
#include "dao/row_source.h"

namespace qmtrain::dao {

class ListNavigator;

// How a record set is opened.
struct Opening {
    RecordsetType type = RecordsetType::Dynaset;  // not Default
    std::int32_t options = 0;
    std::u16string name;
};

class JetRecordset : public Recordset {
public:
    // Raises OperationNotSupported or InvalidArgument for options that there are not.
    JetRecordset(RowSource source, Opening opening);

    RecordsetType Type() override;
    std::u16string Name() override;
    bool Eof() override { return Rows().Eof(); }
    bool Bof() override { return Rows().Bof(); }
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override { Moving().MoveNext(); }
    void MovePrevious() override;
    void Move(std::int32_t rows, const Bytes& start) override;
    std::int32_t RecordCount() override { return static_cast<std::int32_t>(Rows().Seen()); }
    std::int32_t TrueRecordCount() override { return static_cast<std::int32_t>(Rows().All()); }
    std::int32_t AbsolutePosition() override;
    void AbsolutePosition(std::int32_t position) override;
    float PercentPosition() override;
    void PercentPosition(float percent) override;
    bool Updatable() override;
    const std::vector<std::unique_ptr<Field>>& Fields() override;
    Field& Fields(std::u16string_view name) override;
    Field& Fields(int position) override;
    void AddNew() override;
    void Edit() override;
    void Update() override;
    void CancelUpdate() override;
    void Delete() override;
    dao::EditMode EditMode() override;
    bool LockEdits() override;
    void LockEdits(bool pessimistic) override;
    bool Bookmarkable() override;
    Bytes Bookmark() override;
    void Bookmark(const Bytes& bookmark) override;
    Bytes LastModified() override;
    void FindFirst(std::u16string_view criteria) override;
    void FindLast(std::u16string_view criteria) override;
    void FindNext(std::u16string_view criteria) override;
    void FindPrevious(std::u16string_view criteria) override;
    bool NoMatch() const override { return no_match_; }
    std::u16string Index() override;
    void Index(std::u16string_view name) override;
    void Seek(std::u16string_view comparison, std::span<const Value> keys) override;
    std::u16string Filter() override;
    void Filter(std::u16string_view condition) override;
    std::u16string Sort() override;
    void Sort(std::u16string_view columns) override;
    std::shared_ptr<Recordset> OpenRecordset(RecordsetType type, std::int32_t options) override;
    std::shared_ptr<Recordset> Clone() override;
    void Requery() override;
    bool Restartable() override;
    std::vector<std::vector<Value>> GetRows(std::int32_t rows) override;
    Date DateCreated() override;
    Date LastUpdated() override;
    std::u16string ValidationRule() override;
    std::u16string ValidationText() override;
    bool Transactions() override;
    std::int32_t CacheSize() override;
    void CacheSize(std::int32_t rows) override;
    Bytes CacheStart() override;
    void CacheStart(const Bytes& bookmark) override;
    void FillCache() override;
    void Close() override;
    bool IsOpen() const override { return rows_ != nullptr; }

    // Its rows, where they are a list.
    RowList* List() const { return rows_->List(); }

private:
    friend class JetField;

    // A clone.
    JetRecordset(const JetRecordset& other, std::unique_ptr<Navigator> rows);

    void RequireOpen() const;
    jet::Database& Storage() const { return source_.Storage(); }
    std::unique_ptr<Navigator> MakeRows() const;
    void MakeFields();

    Navigator& Rows() const {
        RequireOpen();
        return *rows_;
    }

    // Ends an edit, as every move does.
    Navigator& Moving() {
        RequireOpen();
        edit_->Cancel();
        return *rows_;
    }

    // Raises OperationNotSupported when the record set is not of these types.
    void RequireType(std::initializer_list<RecordsetType> types, std::u16string_view member) const;
    void RequireNotForwardOnly() const;
    void RequireUpdatable();
    ListNavigator& ListRows(std::u16string_view member);
    void Find(ListNavigator& rows, std::u16string_view criteria, std::int64_t from, bool backwards);

    // For fields.
    const sql::OutputColumn& Output(std::size_t position) const;
    const sql::Table* TableOf(const sql::OutputColumn& output) const;
    const Value& Get(std::size_t position);
    Value Original(std::size_t position);
    void Set(std::size_t position, const Value& value);
    bool CanSet(std::size_t position);
    bool HasChanged(std::size_t position) const { return edit_->HasChanged(position); }

    RowSource source_;
    Opening opening_;
    std::unique_ptr<Navigator> rows_;
    std::optional<RowEdit> edit_;
    std::vector<std::unique_ptr<Field>> fields_;
    bool no_match_ = false;
    bool lock_edits_ = true;
    std::u16string filter_;
    std::u16string sort_;
    std::int32_t cache_size_ = 0;
    Bytes cache_start_;
};

}  // namespace qmtrain::dao
