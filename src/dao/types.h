// Field types by DAO's numbers.
#pragma once

#include <cstdint>

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

// What the links of a database that is opened may lead to; the files themselves are opened when they are used.
struct LinkRights {
    bool write = false;    // their tables may be changed
    bool network = false;  // files on other machines ("\\host\share"), which learn who asks
    bool servers = false;  // tables on database servers, which learn who asks and decide who may write
};

}  // namespace qmtrain::dao
