// Reading RTF against copying the same characters.

#include <cstdio>
#include <string>

#include "core/text.h"
#include "document/rtf_reader.h"
#include "measure.h"

namespace {

using namespace qmtrain;

constexpr std::size_t kSize = 1000000;

// A document of a megabyte: a head and one piece again and again.
std::u16string Document(std::u16string_view piece) {
    std::u16string rtf =
        uR"({\rtf1\ansi\ansicpg936\deff0{\fonttbl{\f0\fnil\fcharset134 \'cb\'ce\'cc\'e5;}{\f1\fswiss\fcharset0 Times New Roman;}})"
        uR"({\colortbl ;\red255\green0\blue0;}\viewkind4\uc1\pard\lang2052\f0\fs21 )";
    while (rtf.size() + piece.size() + 1 < kSize) rtf += piece;
    return rtf + u"}";
}

std::u16string PictureGroup(std::size_t bytes) {
    std::u16string group = u"\\pard{\\pict\\pngblip\\picwgoal3000\\pichgoal2000\r\n";
    for (std::size_t i = 0; i < bytes; ++i) {
        group += {u"0123456789abcdef"[i % 16], u"0123456789abcdef"[i / 7 % 16]};
        if (i % 64 == 63) group += u"\r\n";
    }
    return group + u"}\\f0 \\'cd\\'bc\\par\r\n";
}

}  // namespace

int main() {
    struct Case {
        const char* name;
        std::u16string rtf;
    };
    const Case cases[] = {
        {"Chinese in bytes",
         Document(
             uR"(\'cf\'c2\'c1\'d0\'d0\'f0\'ca\'f6\f1  A \cf1\b\f0\'d6\'d0\'ce\'c4\b0\cf0\f1 Visual FoxPro\f0\'a1\'a3\par)"
             u"\r\n")},
        {"Chinese in numbers", Document(uR"(\u19979?\u21015?\u21465?\u-28688?\f1  A \b\f0\u20013?\u25991?\b0\par)"
                                        u"\r\n")},
        {"Chinese as it is", Document(u"下列叙述中，正确的是（ ）。\\par\r\n{\\b A}、计算机 \\tab ")},
        {"ten pictures", Document(PictureGroup(kSize / 21))},
        {"one picture", Document(PictureGroup(kSize / 2 - 10000))},
    };
    for (const Case& c : cases) {
        std::u16string copy;
        const double copying = bench::BestOf(20, [&] { copy = std::u16string(c.rtf); });
        std::size_t length = 0;
        const double reading = bench::BestOf(10, [&] { length = document::ReadRtf(c.rtf).Length(); });
        std::printf("1 MB of RTF, %s: %zu positions in %.2f ms, %.0f times a copy's time\n", c.name, length,
                    reading * 1e3, reading / copying);
    }
}
