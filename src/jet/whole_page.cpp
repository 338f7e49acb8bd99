#include "jet/whole_page.h"

#include "core/error.h"
#include "jet/data_page.h"
#include "jet/index_page.h"

namespace qmtrain::jet {

bool IsWhole(const ByteView& page, const FileFormat& format) {
    try {
        switch (static_cast<PageType>(page.U8(0))) {
            case PageType::Data: DataPage(page, format).CheckAll(); break;
            case PageType::IndexNode:
            case PageType::IndexLeaf: {
                const IndexPage view(page, format, page.U32(4));
                Bytes entry;
                for (std::size_t i = 0; i < view.Count(); ++i) view.Entry(i, entry);
                if (view.StoredFree() != view.ActualFree()) return false;
                break;
            }
            default: break;
        }
        return true;
    } catch (const AutomationError&) {
        return false;
    }
}

}  // namespace qmtrain::jet
