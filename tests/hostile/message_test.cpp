// What messages quote out of files.

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/message_text.h"
#include "core/text.h"

namespace qmtrain::test {
namespace {

TEST(HostileNames, AreQuotedInOneLineAndCutOff) {
    struct Case {
        std::u16string name;
        std::u16string quoted;
    };
    const Case cases[] = {
        {u"表 一", u"表 一"},
        {u"a\r\n[2026-01-01] 函数名:[x]\n4 y", u"a  [2026-01-01] 函数名:[x] 4 y"},
        {std::u16string(u"\0\x1B[31m\x7F\x85\x2028z", 10), u"  [31m   z"},
        {std::u16string(200, u'x'), std::u16string(200, u'x')},
        {std::u16string(3000000, u'x'), std::u16string(199, u'x') + u"…"},
        {std::u16string(198, u'x') + u"\U00020000yz", std::u16string(198, u'x') + u"…"},  // no half of a character
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ForMessage(c.name), c.quoted);
        try {
            Raise(ErrorNumber::NoSuchTable, {c.name});
        } catch (const AutomationError& error) {
            EXPECT_EQ(error.Description(), u"找不到表或查询“" + c.quoted + u"”。");
        }
    }
}

}  // namespace
}  // namespace qmtrain::test
