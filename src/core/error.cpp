#include "core/error.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/message_text.h"
#include "core/text.h"

namespace qmtrain {
namespace {

// In the order of their numbers.
struct Description {
    ErrorNumber number;
    std::u16string_view text;  // %1, %2 … stand for the details
};

constexpr Description kDescriptions[] = {
    {ErrorNumber::InvalidProcedureCall, u"无效的过程调用或参数。%1"},
    {ErrorNumber::Overflow, u"溢出。%1"},
    {ErrorNumber::OutOfMemory, u"内存不足。"},
    {ErrorNumber::SubscriptOutOfRange, u"下标越界。"},
    {ErrorNumber::ArrayFixedOrLocked, u"该数组大小固定，或暂时被锁定。"},
    {ErrorNumber::DivisionByZero, u"除数为零。%1"},
    {ErrorNumber::TypeMismatch, u"类型不匹配。%1"},
    {ErrorNumber::ObjectNotSet, u"未设置对象变量。"},
    {ErrorNumber::InvalidUseOfNull, u"无效使用 Null。"},
    {ErrorNumber::CannotCreateObject, u"不能创建对象：%1"},
    {ErrorNumber::InterfaceNotSupported, u"对象不支持所需的接口。"},
    {ErrorNumber::MemberNotFound, u"对象不支持此属性或方法。"},
    {ErrorNumber::AutomationFailed, u"自动化错误 %1。"},
    {ErrorNumber::NamedArgumentsNotSupported, u"对象不支持命名参数。"},
    {ErrorNumber::LocaleNotSupported, u"对象不支持当前的区域设置。"},
    {ErrorNumber::NamedArgumentNotFound, u"找不到命名参数。"},
    {ErrorNumber::ArgumentNotOptional, u"缺少必需的参数。"},
    {ErrorNumber::ArgumentCountWrong, u"参数的个数不对。"},
    {ErrorNumber::KeyAlreadyInCollection, u"此键已经与该集合的一个元素相关联。"},
    {ErrorNumber::AutomationTypeNotSupported, u"变量使用了不支持的自动化类型。"},
    {ErrorNumber::InvalidArgument, u"无效的参数。%1"},
    {ErrorNumber::TableExists, u"表“%1”已经存在。"},
    {ErrorNumber::ObjectNotFound, u"找不到对象“%1”。"},
    {ErrorNumber::RelationshipExists, u"对象“%1”已经存在。"},
    {ErrorNumber::IndexNotFound, u"“%1”不是此表的索引。"},
    {ErrorNumber::NoCurrentIndex, u"没有当前索引。"},
    {ErrorNumber::UpdateWithoutEdit, u"没有先调用 AddNew 或 Edit 就更新或取消更新。"},
    {ErrorNumber::NoCurrentRecord, u"没有当前记录。"},
    {ErrorNumber::DuplicateKey, u"未能写入：索引“%1”、主键或关系中会出现重复的值。%2"},
    {ErrorNumber::FileNotFound, u"找不到文件“%1”。"},
    {ErrorNumber::DiskFull, u"磁盘空间不足，文件“%1”没有写入。"},
    {ErrorNumber::ReadOnly, u"不能更新：数据库或对象“%1”是只读的。%2"},
    {ErrorNumber::PasswordInvalid, u"数据库“%1”的密码无效。%2"},
    {ErrorNumber::TransactionNotStarted, u"没有已开始的事务可以提交或回滚。"},
    {ErrorNumber::SystemResourceExceeded, u"超出系统资源。%1"},
    {ErrorNumber::DiskError, u"读写文件“%1”时发生磁盘错误：%2"},
    {ErrorNumber::InvalidPath, u"路径“%1”无效。"},
    {ErrorNumber::FileInUse, u"数据库“%1”正在使用。%2"},
    {ErrorNumber::RecordTooLarge, u"表“%1”的记录太长。"},
    {ErrorNumber::FileDamaged, u"数据库“%1”已损坏：%2"},
    {ErrorNumber::CannotLockFile, u"不能锁定文件“%1”：它正被其他程序使用。"},
    {ErrorNumber::CannotOpenFile, u"不能打开文件“%1”：没有权限，或它正被其他程序独占。"},
    {ErrorNumber::IndexKeyNull, u"索引或主键“%1”的字段不能为 Null。"},
    {ErrorNumber::OperationCancelled, u"操作已取消：%1"},
    {ErrorNumber::MissingParameter, u"参数不足：“%1”没有给出值。"},
    {ErrorNumber::CannotExecuteSelect, u"不能执行选择查询。"},
    {ErrorNumber::SyntaxInExpression, u"查询表达式“%1”中有语法错误。"},
    {ErrorNumber::ArgumentCount, u"函数“%1”的参数个数不对。"},
    {ErrorNumber::NoSuchTable, u"找不到表或查询“%1”。%2"},
    {ErrorNumber::FieldNameAmbiguous, u"字段“%1”可能来自多个表，请写明表名。"},
    {ErrorNumber::UndefinedFunction, u"表达式中有未定义的函数“%1”。"},
    {ErrorNumber::AggregateNotAllowed, u"此处不能使用合计函数：%1"},
    {ErrorNumber::CircularReference, u"查询“%1”引用了它自己。"},
    {ErrorNumber::AggregateMissing, u"查询中的表达式“%1”既未分组也不在合计函数中。"},
    {ErrorNumber::InvalidName, u"“%1”不是有效的名称。%2"},
    {ErrorNumber::UnknownInsertField, u"INSERT INTO 语句中的字段名“%1”未知。"},
    {ErrorNumber::DeleteTargetMissing, u"请指明要删除记录的表：%1"},
    {ErrorNumber::SyntaxInStatement, u"无效的 SQL 语句：%1"},
    {ErrorNumber::SyntaxInFromClause, u"FROM 子句中有语法错误：%1"},
    {ErrorNumber::SyntaxInInsert, u"INSERT INTO 语句中有语法错误：%1"},
    {ErrorNumber::SyntaxInJoin, u"JOIN 操作中有语法错误：%1"},
    {ErrorNumber::SyntaxInOrderBy, u"ORDER BY 子句中有语法错误：%1"},
    {ErrorNumber::SyntaxInParameters, u"PARAMETER 子句中有语法错误：%1"},
    {ErrorNumber::SyntaxInSelect, u"SELECT 语句有语法错误：%1"},
    {ErrorNumber::SyntaxInUnion, u"UNION 查询中有语法错误：%1"},
    {ErrorNumber::SyntaxInUpdate, u"UPDATE 语句中有语法错误：%1"},
    {ErrorNumber::OdbcCallFailed, u"ODBC 调用失败：%1"},
    {ErrorNumber::OdbcConnectionFailed, u"ODBC：与“%1”的连接失败。%2"},
    {ErrorNumber::OdbcInsertFailed, u"ODBC：向链接表“%1”添加记录失败。%2"},
    {ErrorNumber::OdbcDeleteFailed, u"ODBC：从链接表“%1”删除记录失败。%2"},
    {ErrorNumber::OdbcUpdateFailed, u"ODBC：更新链接表“%1”失败。%2"},
    {ErrorNumber::InvalidBookmark, u"不是有效的书签。"},
    {ErrorNumber::FieldTooLarge, u"字段“%1”太小，容不下要写入的数据。%2"},
    {ErrorNumber::RecordDeleted, u"记录已被删除。"},
    {ErrorNumber::TooManyFields, u"表“%1”的字段太多。"},
    {ErrorNumber::FieldExists, u"字段“%1”重复。"},
    {ErrorNumber::RecordChanged, u"记录在读出以后已被其他用户更改，没有执行：请查看新的内容后再试。%1"},
    {ErrorNumber::RelatedRecordsExist, u"不能删除或更改记录：表“%1”中有相关的记录。%2"},
    {ErrorNumber::RelatedRecordRequired, u"不能添加或更改记录：表“%1”中需要有相关的记录。%2"},
    {ErrorNumber::DatabaseExists, u"数据库“%1”已经存在。"},
    {ErrorNumber::ObjectInUse, u"表“%1”正在使用，不能锁定。"},
    {ErrorNumber::InvalidOperation, u"无效的操作。"},
    {ErrorNumber::OperationNotSupported, u"不支持此操作：%1"},
    {ErrorNumber::InvalidFieldType, u"字段“%1”的数据类型无效。"},
    {ErrorNumber::LockedByOther, u"数据库“%1”正被其他用户锁定，不能更新。%2"},
    {ErrorNumber::NoFieldDefined, u"不能添加“%1”：没有定义字段。"},
    {ErrorNumber::FieldNotFound, u"在集合中找不到“%1”。"},
    {ErrorNumber::FieldInIndex, u"不能删除字段“%1”：它是索引的一部分。"},
    {ErrorNumber::UsedInRelationship, u"不能删除索引或表“%1”：它用于一个关系。"},
    {ErrorNumber::PrimaryKeyExists, u"表“%1”已经有主键。"},
    {ErrorNumber::IndexExists, u"表“%1”已经有名为“%2”的索引。"},
    {ErrorNumber::SyntaxInCreateTable, u"CREATE TABLE 语句中有语法错误：%1"},
    {ErrorNumber::SyntaxInCreateIndex, u"CREATE INDEX 语句中有语法错误：%1"},
    {ErrorNumber::SyntaxInColumnDefinition, u"字段定义中有语法错误：%1"},
    {ErrorNumber::SyntaxInAlterTable, u"ALTER TABLE 语句中有语法错误：%1"},
    {ErrorNumber::SyntaxInDrop, u"DROP 语句中有语法错误：%1"},
    {ErrorNumber::SubqueryManyColumns, u"此子查询只能返回一列：%1"},
    {ErrorNumber::ColumnCountMismatch, u"UNION 查询中各部分的列数不同。"},
    {ErrorNumber::FieldRequired, u"字段“%1”不能为 Null：它必须有值。%2"},
    {ErrorNumber::ZeroLengthNotAllowed, u"字段“%1”不能是零长度字符串。"},
    {ErrorNumber::TableRuleBroken, u"%1"},
    {ErrorNumber::FieldRuleBroken, u"%1"},
    {ErrorNumber::UnknownFormat, u"“%1”不是可识别的数据库：%2"},
    {ErrorNumber::InsertCountMismatch, u"值的个数与目标字段的个数不同。"},
    {ErrorNumber::SubqueryManyRows, u"此子查询最多只能返回一条记录。"},
    {ErrorNumber::OpenedExclusively, u"数据库“%1”已被以独占方式打开。%2"},
    {ErrorNumber::QueryTooComplex, u"查询太复杂。%1"},
    {ErrorNumber::RelationshipMismatch, u"关系“%1”两边的字段不相配。"},
    {ErrorNumber::AlreadyInCollection, u"不能添加：集合中已经有名为“%1”的对象。"},
    {ErrorNumber::NoUniqueIndexForReference, u"被引用的表“%1”没有与该关系的字段相对应的唯一索引。"},
    {ErrorNumber::ObjectInvalid, u"对象无效或已经关闭。"},
    {ErrorNumber::DataTypeConversion, u"数据类型转换错误：字段“%1”。%2"},
    {ErrorNumber::CriteriaTypeMismatch, u"条件表达式中的数据类型不匹配：%1"},
    {ErrorNumber::TextOrderUnsupported, u"表“%1”的索引“%2”使用的文本排序不受支持，不能写入：%3"},
    {ErrorNumber::TooManyIndexes, u"表“%1”的索引太多。"},
};

constexpr std::u16string_view kUnknownError = u"未知错误。";

constexpr bool InOrder() {
    for (std::size_t i = 1; i < std::size(kDescriptions); ++i) {
        if (kDescriptions[i - 1].number >= kDescriptions[i].number) return false;
    }
    return true;
}
static_assert(InOrder());

}  // namespace

AutomationError::AutomationError(std::int32_t number, std::u16string source, std::u16string description)
    : number_(number), source_(std::move(source)), description_(std::move(description)), utf8_(ToUtf8(description_)) {}

std::u16string DescriptionOf(ErrorNumber number, std::initializer_list<std::u16string_view> details) {
    const auto* found =
        std::lower_bound(std::begin(kDescriptions), std::end(kDescriptions), number,
                         [](const Description& entry, ErrorNumber wanted) { return entry.number < wanted; });
    const bool known = found != std::end(kDescriptions) && found->number == number;
    const std::u16string_view pattern = known ? found->text : kUnknownError;
    std::u16string out;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool placeholder = pattern[i] == u'%' && i + 1 < pattern.size();
        if (!placeholder) {
            out.push_back(pattern[i]);
            continue;
        }
        const std::size_t detail = pattern[++i] - u'1';
        if (detail < details.size()) out += ForMessage(details.begin()[detail]);
    }
    return out;
}

void Raise(ErrorNumber number, std::initializer_list<std::u16string_view> details) {
    throw AutomationError(static_cast<std::int32_t>(number), u"QmTrainInfo", DescriptionOf(number, details));
}

void RaiseComponentError(std::u16string source, std::u16string description) {
    throw AutomationError(kComponentError, std::move(source), std::move(description));
}

}  // namespace qmtrain
