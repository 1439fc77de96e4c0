// SPDX-License-Identifier: Apache-2.0
#include "report/visible_text.h"

#include <gtest/gtest.h>

namespace
{

using kvn::markup_text;
using kvn::visible_text;

TEST(VisibleText, KeepsPrintableTextOfEveryScript)
{
    EXPECT_EQ(visible_text("mwc4a:0/2 Prüfling 試験 \U0001F600 ~"), "mwc4a:0/2 Prüfling 試験 \U0001F600 ~");
}

TEST(VisibleText, ShowsControlCharactersAsEscapes)
{
    EXPECT_EQ(visible_text("a\x1B[31m\n\t\x7F" + std::string(1, '\0')), "a\\x1B[31m\\x0A\\x09\\x7F\\x00");
    EXPECT_EQ(visible_text("\u0085\u009B"), "\\x85\\x9B");
}

TEST(VisibleText, ShowsBytesThatAreNoUtf8AsEscapes)
{
    EXPECT_EQ(visible_text("a\xFFz\xC3"), "a\\xFFz\\xC3");               // no first byte; cut off
    EXPECT_EQ(visible_text("\xC0\xAF"), "\\xC0\\xAF");                   // longer than need be
    EXPECT_EQ(visible_text("\xED\xA0\x80"), "\\xED\\xA0\\x80");          // half a pair of UTF-16
    EXPECT_EQ(visible_text("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80"); // beyond the last character
    EXPECT_EQ(visible_text("\xE2\x82z"), "\\xE2\\x82z");
}

TEST(VisibleText, ShowsCharactersThatHideOthersAsEscapes)
{
    EXPECT_EQ(visible_text("\u202Egpj.exe\u2066\u200B\u2028\uFEFF"),
              "\\u{202E}gpj.exe\\u{2066}\\u{200B}\\u{2028}\\u{FEFF}");
    EXPECT_EQ(visible_text("\uFFFE\uFDD0\U0001FFFF\U000E0041"), "\\u{FFFE}\\u{FDD0}\\u{1FFFF}\\u{E0041}");
}

TEST(VisibleText, IsMarkupWithoutMeaning)
{
    EXPECT_EQ(markup_text("<b title=\"x\" lang='y'>a & b\n</b>"),
              "&lt;b title=&quot;x&quot; lang=&#39;y&#39;&gt;a &amp; b\\x0A&lt;/b&gt;");
}

} // namespace
