// The owner of each page of a database, as far as a check has found it.
#pragma once

#include <string>
#include <vector>

#include "core/text.h"
#include "jet/check.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

// Map pages are shared, all others have one owner.
class PageUse {
public:
    PageUse(PageNumber pages, CheckReport& report) : owners_(pages), report_(report) {}

    void Claim(PageNumber page, const std::u16string& owner) { Mark(page, owner, false); }
    void Share(PageNumber page, const std::u16string& owner) { Mark(page, owner, true); }
    bool IsUsed(PageNumber page) const { return owners_[page].used; }

private:
    struct Owner {
        bool used = false;
        bool shared = false;
    };

    void Mark(PageNumber page, const std::u16string& owner, bool shared) {
        if (page == 0 || page >= owners_.size()) {
            report_.defects.push_back(owner + u"：页号 " + ToText(page) + u" 超出文件范围。");
            return;
        }
        Owner& entry = owners_[page];
        if (entry.used && !(shared && entry.shared)) {
            report_.defects.push_back(u"第 " + ToText(page) + u" 页被重复使用：" + owner + u"。");
        }
        entry = {true, shared};
    }

    std::vector<Owner> owners_;
    CheckReport& report_;
};

}  // namespace qmtrain::jet
