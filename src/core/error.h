// Errors as automation clients see them: a number, a source and a Chinese description.
//
// Every failure inside the component is thrown as an AutomationError made by Raise(), so that numbers and texts
// stand in one table (error.cpp). Absence (no row, no such table) is a value, not an error.
#pragma once

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>

namespace qmtrain {

// Numbers of Visual Basic (below 1000) and of DAO (3000 and up); the names say what they mean there.
enum class ErrorNumber : std::int32_t {
    InvalidProcedureCall = 5,
    Overflow = 6,
    SubscriptOutOfRange = 9,
    ArrayFixedOrLocked = 10,
    DivisionByZero = 11,
    TypeMismatch = 13,
    ObjectNotSet = 91,
    InvalidUseOfNull = 94,
    KeyAlreadyInCollection = 457,
    InvalidArgument = 3001,
    DatabaseTooLarge = InvalidArgument,  // the file would pass the format's limit
    TransactionNotStarted = 3034,
    TableExists = 3010,
    ObjectNotFound = 3011,
    IndexNotFound = 3015,  // in its table
    TooManyIndexes = 3626,
    FieldTooLarge = 3163,
    NoUniqueIndexForReference = 3368,
    NoCurrentIndex = 3019,
    UpdateWithoutEdit = 3020,
    NoCurrentRecord = 3021,
    DuplicateKey = 3022,
    FileNotFound = 3024,
    DiskFull = 3026,
    ReadOnly = 3027,
    PasswordInvalid = 3031,
    FileInUse = 3045,
    SystemResourceExceeded = 3035,
    DiskError = 3043,
    InvalidPath = 3044,
    FileDamaged = 3049,
    CannotLockFile = 3050,
    CannotOpenFile = 3051,
    IndexKeyNull = 3058,
    OperationCancelled = 3059,
    MissingParameter = 3061,
    SyntaxInExpression = 3075,
    NoSuchTable = 3078,
    FieldNameAmbiguous = 3079,
    AggregateMissing = 3122,
    RecordDeleted = 3167,
    LockedByOther = 3260,
    ObjectInUse = 3211,
    RecordChanged = 3197,  // by another user
    RelatedRecordsExist = 3200,
    RelatedRecordRequired = 3201,
    InvalidFieldType = 3259,
    NoFieldDefined = 3264,
    FieldNotFound = 3265,
    PropertyNotFound = 3270,
    OperationNotSupported = 3251,
    DatabaseExists = 3204,
    FieldInIndex = 3280,        // a field of an index cannot be dropped
    UsedInRelationship = 3281,  // an index or table that a relationship needs cannot be dropped
    PrimaryKeyExists = 3283,
    IndexExists = 3284,
    InvalidName = 3125,
    RelationshipMismatch = 3366,  // the fields of the two sides do not fit
    RelationshipExists = 3012,
    FieldRequired = 3314,
    TableRuleBroken = 3316,
    FieldRuleBroken = 3317,
    OpenedExclusively = 3356,
    AlreadyInCollection = 3367,
    ZeroLengthNotAllowed = 3315,
    UnknownFormat = 3343,
    TooManyFields = 3190,
    FieldExists = 3191,
    RecordTooLarge = 3047,
    ObjectInvalid = 3420,
    DataTypeConversion = 3421,
    CriteriaTypeMismatch = 3464,
    TextOrderUnsupported = 3605,  // no key can be computed for this text in this sort order
    SyntaxInFromClause = 3131,
    SyntaxInInsert = 3134,
    SyntaxInJoin = 3135,
    SyntaxInOrderBy = 3138,
    SyntaxInSelect = 3141,
    SyntaxInUpdate = 3144,
    SyntaxInStatement = 3129,
    SyntaxInParameters = 3139,
    SyntaxInCreateTable = 3290,
    SyntaxInCreateIndex = 3291,
    SyntaxInColumnDefinition = 3292,
    SyntaxInAlterTable = 3293,
    SyntaxInDrop = 3295,
    SyntaxInUnion = 3142,
    ColumnCountMismatch = 3307,
    InsertCountMismatch = 3346,
    UndefinedFunction = 3085,
    ArgumentCount = 3077,
    SubqueryManyRows = 3354,
    CannotExecuteSelect = 3065,
    InvalidBookmark = 3159,
    InvalidOperation = 3219,
    QueryTooComplex = 3360,
    AggregateNotAllowed = 3096,
    CircularReference = 3102,
    SubqueryManyColumns = 3306,
    UnknownInsertField = 3127,
    DeleteTargetMissing = 3128,
};

class AutomationError : public std::exception {
public:
    AutomationError(std::int32_t number, std::u16string source, std::u16string description);

    std::int32_t Number() const { return number_; }
    const std::u16string& Source() const { return source_; }
    const std::u16string& Description() const { return description_; }

    bool Is(ErrorNumber number) const { return number_ == static_cast<std::int32_t>(number); }

    // The description in UTF-8, for logs and terminals.
    const char* what() const noexcept override { return utf8_.c_str(); }

private:
    std::int32_t number_;
    std::u16string source_;
    std::u16string description_;
    std::string utf8_;
};

// Throws the error with the table's Chinese description; "%1", "%2" … in it are replaced by `details`, each as
// ForMessage (message_text.h) makes it.
[[noreturn]] void Raise(ErrorNumber number, std::initializer_list<std::u16string_view> details = {});

// The component's own error: vbObjectError + 1, for a folder or file that a property refuses.
inline constexpr std::int32_t kComponentError = static_cast<std::int32_t>(0x80040001);
[[noreturn]] void RaiseComponentError(std::u16string source, std::u16string description);

}  // namespace qmtrain
