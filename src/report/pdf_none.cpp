#include "core/error.h"
#include "report/printing.h"

namespace qmtrain::report {

bool CanWritePdf() {
    return false;
}

void WritePdf(const Report&, std::u16string_view) {
    RaiseComponentError(u"qmtrain", u"这个系统上不能直接写 PDF 文件；请打印到 PDF 打印机。");
}

}  // namespace qmtrain::report
