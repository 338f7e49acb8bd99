// Types and options by DAO's numbers.
#pragma once

#include <cstdint>
#include <string_view>

namespace qmtrain::dao {

enum class FieldType : std::int16_t {
    Boolean = 1,
    Byte = 2,
    Integer = 3,
    Long = 4,
    Currency = 5,
    Single = 6,
    Double = 7,
    Date = 8,
    Binary = 9,
    Text = 10,
    LongBinary = 11,
    Memo = 12,
    Guid = 15,
    Decimal = 20,
};

// Bits of FieldDef::attributes; a descending field is one of an index.
inline constexpr std::int32_t kDescending = 1;
inline constexpr std::int32_t kFixedField = 1;
inline constexpr std::int32_t kVariableField = 2;
inline constexpr std::int32_t kAutoIncrField = 16;
inline constexpr std::int32_t kUpdatableField = 32;

enum class RecordsetType : std::int16_t {
    Default = 0,  // a table where the source is one of this file, else a dynaset
    Table = 1,    // the rows as they stand in an index now
    Dynaset = 2,  // which rows it has is fixed as they are seen; what they hold is read when it is asked for
    Snapshot = 4,
    ForwardOnly = 8,
};

// Options of record sets.
inline constexpr std::int32_t kDenyWrite = 1;
inline constexpr std::int32_t kDenyRead = 2;
inline constexpr std::int32_t kReadOnly = 4;
inline constexpr std::int32_t kAppendOnly = 8;
inline constexpr std::int32_t kInconsistent = 16;
inline constexpr std::int32_t kConsistent = 32;
inline constexpr std::int32_t kSqlPassThrough = 64;
inline constexpr std::int32_t kFailOnError = 128;
inline constexpr std::int32_t kForwardOnly = 256;
inline constexpr std::int32_t kSeeChanges = 512;

// Options of CreateDatabase and CompactDatabase.
inline constexpr std::int32_t kEncrypt = 2;
inline constexpr std::int32_t kDecrypt = 4;
inline constexpr std::int32_t kVersion30 = 32;  // Jet 3
inline constexpr std::int32_t kVersion40 = 64;  // Jet 4

// Locales; ";pwd=" and a password may follow.
inline constexpr std::u16string_view kGeneralLocale = u";LANGID=0x0409;CP=1252;COUNTRY=0";
inline constexpr std::u16string_view kChineseLocale = u";LANGID=0x0804;CP=936;COUNTRY=0";

enum class EditMode : std::int16_t { None = 0, InProgress = 1, Add = 2 };

// What the links of a database that is opened may lead to; the files themselves are opened when they are used.
struct LinkRights {
    bool write = false;    // their tables may be changed
    bool network = false;  // files on other machines ("\\\\host\\share"), which learn who asks
    bool servers = false;  // tables on database servers, which learn who asks and decide who may write
};

}  // namespace qmtrain::dao
