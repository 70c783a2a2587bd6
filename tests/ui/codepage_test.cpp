// SPDX-License-Identifier: GPL-3.0-or-later
// Chat travels in Windows-1252: every character it holds goes out as its one byte and comes back
// as itself, and every other character goes out as one "?".

#include "ui/codepage.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace kelvane {
namespace {

TEST(CodePage, EachCharacterIsOneByteAndWhatTheCodePageLacksIsOneQuestionMark) {
    // What the player typed, the bytes that go out, and what the other side shows.
    const std::tuple<const char16_t*, std::string, const char16_t*> cases[] = {
        {u"hi (there)", "hi (there)", u"hi (there)"},
        {u"\u00e9t\u00e9 \u00ff", "\xe9t\xe9 \xff", u"\u00e9t\u00e9 \u00ff"},
        // Where the code page departs from Latin-1: its first and last there, and quotes.
        {u"\u20ac \u0178 \u201cok\u201d", "\x80 \x9f \x93ok\x94", u"\u20ac \u0178 \u201cok\u201d"},
        {u"\u2122\u0161\u2026", "\x99\x9a\x85", u"\u2122\u0161\u2026"},
        // Characters it cannot hold, one beyond the first 65,536 among them.
        {u"\u4e2d\U0001F600.", "??.", u"??."},
        // Control characters the code page lacks do not go out.
        {u"\u0081\u008d", "??", u"??"},
    };
    for (const auto& [typed, bytes, shown] : cases) {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(ToCodePage(QString::fromUtf16(typed)), bytes);
        EXPECT_EQ(FromCodePage(bytes), QString::fromUtf16(shown));
    }
    // The five bytes the code page leaves unused show as the mark for a character lost.
    EXPECT_EQ(FromCodePage("\x81\x8d\x8f\x90\x9d"), QString(5, QChar::ReplacementCharacter));
}

}  // namespace
}  // namespace kelvane
