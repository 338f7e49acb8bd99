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

// Numbers of Visual Basic (below 1000) and of DAO (3000 and up), in their order.
enum class ErrorNumber : std::int32_t {
    InvalidProcedureCall = 5,
    Overflow = 6,
    OutOfMemory = 7,
    SubscriptOutOfRange = 9,
    ArrayFixedOrLocked = 10,
    DivisionByZero = 11,
    TypeMismatch = 13,
    ObjectNotSet = 91,
    InvalidUseOfNull = 94,
    CannotCreateObject = 429,
    InterfaceNotSupported = 430,
    MemberNotFound = 438,
    AutomationFailed = 440,
    NamedArgumentsNotSupported = 446,
    LocaleNotSupported = 447,
    NamedArgumentNotFound = 448,
    ArgumentNotOptional = 449,
    ArgumentCountWrong = 450,
    KeyAlreadyInCollection = 457,
    AutomationTypeNotSupported = 458,
    InvalidArgument = 3001,
    DatabaseTooLarge = InvalidArgument,  // the file would pass the format's limit
    TableExists = 3010,
    ObjectNotFound = 3011,
    RelationshipExists = 3012,
    IndexNotFound = 3015,  // in its table
    NoCurrentIndex = 3019,
    UpdateWithoutEdit = 3020,
    NoCurrentRecord = 3021,
    DuplicateKey = 3022,
    FileNotFound = 3024,
    DiskFull = 3026,
    ReadOnly = 3027,
    PasswordInvalid = 3031,
    TransactionNotStarted = 3034,
    SystemResourceExceeded = 3035,
    DiskError = 3043,
    InvalidPath = 3044,
    FileInUse = 3045,
    RecordTooLarge = 3047,
    FileDamaged = 3049,
    CannotLockFile = 3050,
    CannotOpenFile = 3051,
    IndexKeyNull = 3058,
    OperationCancelled = 3059,
    MissingParameter = 3061,
    CannotExecuteSelect = 3065,
    SyntaxInExpression = 3075,
    ArgumentCount = 3077,
    NoSuchTable = 3078,
    FieldNameAmbiguous = 3079,
    UndefinedFunction = 3085,
    AggregateNotAllowed = 3096,
    CircularReference = 3102,
    AggregateMissing = 3122,
    InvalidName = 3125,
    UnknownInsertField = 3127,
    DeleteTargetMissing = 3128,
    SyntaxInStatement = 3129,
    SyntaxInFromClause = 3131,
    SyntaxInInsert = 3134,
    SyntaxInJoin = 3135,
    SyntaxInOrderBy = 3138,
    SyntaxInParameters = 3139,
    SyntaxInSelect = 3141,
    SyntaxInUnion = 3142,
    SyntaxInUpdate = 3144,
    OdbcCallFailed = 3146,
    OdbcConnectionFailed = 3151,
    OdbcInsertFailed = 3155,
    OdbcDeleteFailed = 3156,
    OdbcUpdateFailed = 3157,
    InvalidBookmark = 3159,
    FieldTooLarge = 3163,
    RecordDeleted = 3167,
    TooManyFields = 3190,
    FieldExists = 3191,
    RecordChanged = 3197,  // by another user
    RelatedRecordsExist = 3200,
    RelatedRecordRequired = 3201,
    DatabaseExists = 3204,
    ObjectInUse = 3211,
    InvalidOperation = 3219,
    OperationNotSupported = 3251,
    InvalidFieldType = 3259,
    LockedByOther = 3260,
    NoFieldDefined = 3264,
    FieldNotFound = 3265,
    FieldInIndex = 3280,        // a field of an index cannot be dropped
    UsedInRelationship = 3281,  // an index or table that a relationship needs cannot be dropped
    PrimaryKeyExists = 3283,
    IndexExists = 3284,
    SyntaxInCreateTable = 3290,
    SyntaxInCreateIndex = 3291,
    SyntaxInColumnDefinition = 3292,
    SyntaxInAlterTable = 3293,
    SyntaxInDrop = 3295,
    SubqueryManyColumns = 3306,
    ColumnCountMismatch = 3307,
    FieldRequired = 3314,
    ZeroLengthNotAllowed = 3315,
    TableRuleBroken = 3316,
    FieldRuleBroken = 3317,
    UnknownFormat = 3343,
    InsertCountMismatch = 3346,
    SubqueryManyRows = 3354,
    OpenedExclusively = 3356,
    QueryTooComplex = 3360,
    RelationshipMismatch = 3366,  // the fields of the two sides do not fit
    AlreadyInCollection = 3367,
    NoUniqueIndexForReference = 3368,
    ObjectInvalid = 3420,
    DataTypeConversion = 3421,
    CriteriaTypeMismatch = 3464,
    TextOrderUnsupported = 3605,  // no key can be computed for this text in this sort order
    TooManyIndexes = 3626,
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

// The table's Chinese description of the error; "%1", "%2" … in it are replaced by `details`, each as ForMessage
// (message_text.h) makes it.
std::u16string DescriptionOf(ErrorNumber number, std::initializer_list<std::u16string_view> details = {});

// Throws the error with that description.
[[noreturn]] void Raise(ErrorNumber number, std::initializer_list<std::u16string_view> details = {});

// The component's own error: vbObjectError + 1, for a folder or file that a property refuses.
inline constexpr std::int32_t kComponentError = static_cast<std::int32_t>(0x80040001);
[[noreturn]] void RaiseComponentError(std::u16string source, std::u16string description);

}  // namespace qmtrain
