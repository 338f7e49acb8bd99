#include "ui/client_problem.h"

namespace qmtrain::ui {
namespace {

std::u16string_view Problem(const AutomationError& error) {
    if (error.Number() == kComponentError) return u"找不到练习记录数据库 Client.mdb。";
    switch (static_cast<ErrorNumber>(error.Number())) {
        case ErrorNumber::FileNotFound:
        case ErrorNumber::InvalidPath: return u"找不到练习记录数据库 Client.mdb。";
        case ErrorNumber::FileDamaged:
        case ErrorNumber::UnknownFormat: return u"练习记录数据库 Client.mdb 已损坏，不能读取。";
        case ErrorNumber::NoSuchTable:
        case ErrorNumber::FieldNotFound:
        case ErrorNumber::MissingParameter: return u"练习记录数据库 Client.mdb 已损坏：其中缺少需要的表或字段。";
        case ErrorNumber::CannotLockFile:
        case ErrorNumber::LockedByOther:
        case ErrorNumber::OpenedExclusively:
        case ErrorNumber::FileInUse: return u"练习记录数据库 Client.mdb 正被其他程序锁定，请稍后再打开本窗口。";
        case ErrorNumber::CannotOpenFile:
            return u"练习记录数据库 Client.mdb 不能打开：没有权限，或它正被其他程序锁定。";
        default: return u"练习记录数据库 Client.mdb 不能读取。";
    }
}

}  // namespace

std::u16string ClientProblem(const AutomationError& error) {
    return std::u16string(Problem(error)).append(u"\n详细原因见日志 QmTrainInfo.Log。");
}

}  // namespace qmtrain::ui
