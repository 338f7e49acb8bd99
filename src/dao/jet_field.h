// Fields of our own engine's record sets.
#pragma once

#include "dao/recordset.h"

namespace qmtrain::dao {

class JetRecordset;

class JetField : public Field {
public:
    JetField(JetRecordset& recordset, std::size_t position) : recordset_(recordset), position_(position) {}

    const std::u16string& Name() const override;
    FieldType Type() const override;
    int Size() const override;
    FieldDef Definition() const override;
    const qmtrain::Value& Value() const override;
    void Value(const qmtrain::Value& value) override;
    qmtrain::Value OriginalValue() const override;
    bool DataUpdatable() const override;
    std::int32_t FieldSize() const override;
    qmtrain::Value GetChunk(std::int32_t offset, std::int32_t count) const override;
    void AppendChunk(const qmtrain::Value& chunk) override;

private:
    bool IsBinary() const;

    JetRecordset& recordset_;
    std::size_t position_;
};

}  // namespace qmtrain::dao
