// SPDX-License-Identifier: Apache-2.0
// Manifests: lines as sha256sum writes them, and every other line.
#include "run/manifest.h"

#include "errors/failure.h"

#include <gtest/gtest.h>

namespace
{
using kvn::Manifest;

const std::string A(64, 'a');
const std::string B(64, 'b');

/// What is wrong with a manifest; empty if nothing is.
std::string mistake_in(const std::string& text)
{
    try {
        (void)Manifest::parse(text, "approved.txt");
        return {};
    } catch (const kvn::FailureError& error) {
        EXPECT_EQ(error.failure().status, kvn::ExitStatus::usage);
        EXPECT_EQ(error.failure().why, "expected is a line as sha256sum writes it: 64 digits 0 to 9 and a to "
                                       "f, a blank, a blank or *, and a name");
        EXPECT_FALSE(error.failure().remedy.empty());
        return error.what();
    }
}

TEST(Manifest, HoldsTheDigestsOfItsLines)
{
    const Manifest manifest = Manifest::parse(A + "  design.bit\n" + B + " *other.mcb\n", "approved.txt");
    EXPECT_EQ(manifest.size(), 2U);
    EXPECT_TRUE(manifest.holds(A));
    EXPECT_TRUE(manifest.holds(B));
    EXPECT_FALSE(manifest.holds(std::string(64, 'c')));
    EXPECT_FALSE(manifest.holds(""));
    EXPECT_EQ(manifest.file(), "approved.txt");
}

TEST(Manifest, HasTheDigestOfItsOwnBytes)
{
    EXPECT_EQ(Manifest::parse(A + "  x\n", "m").sha256(),
              "10048beccb6b9ce7f26aca19c98c87034cf9d1df5aecb01c1b2b775b1a966b65");
}

TEST(Manifest, TakesCapitalDigitsCarriageReturnsAndALastLineWithoutEnd)
{
    const Manifest manifest = Manifest::parse(std::string(64, 'A') + "  a\r\n" + B + "  b", "m");
    EXPECT_TRUE(manifest.holds(A));
    EXPECT_NE(manifest.digest_for("a"), nullptr) << "the name is without the carriage return";
    EXPECT_TRUE(manifest.holds(B));
}

TEST(Manifest, FindsTheDigestOfANameInAnyFolder)
{
    const Manifest manifest = Manifest::parse(A + "  release/design.bit\n" + B + "  other/design.bit\n", "m");
    ASSERT_NE(manifest.digest_for("work/design.bit"), nullptr);
    EXPECT_EQ(*manifest.digest_for("work/design.bit"), A) << "the first of several";
    EXPECT_EQ(manifest.digest_for("design.mcb"), nullptr);
}

TEST(Manifest, ReadsEscapedNames)
{
    const Manifest manifest = Manifest::parse("\\" + A + "  a\\\\b\\nc\\rd\n" + B + "  plain\\name\n", "m");
    ASSERT_NE(manifest.digest_for("a\\b\nc\rd"), nullptr);
    EXPECT_EQ(*manifest.digest_for("a\\b\nc\rd"), A);
    ASSERT_NE(manifest.digest_for("plain\\name"), nullptr) << "only a line that begins with one is escaped";
}

TEST(Manifest, NamesTheFirstWrongLine)
{
    const std::string good = A + "  design.bit\n";
    EXPECT_EQ(mistake_in(""), "approved.txt: the manifest approves no file: it is empty");
    EXPECT_EQ(mistake_in(good + "\n"), "approved.txt:2: the line is empty");
    EXPECT_EQ(mistake_in("# approved\n" + good),
              "approved.txt:1: the line is a comment, which manifests do not have");
    EXPECT_EQ(mistake_in(good + good + A.substr(1) + "  x\n"),
              "approved.txt:3: the line begins with 63 hexadecimal digits in place of 64");
    EXPECT_EQ(mistake_in(A + "a  x\n"),
              "approved.txt:1: the line begins with 65 hexadecimal digits in place of 64");
    EXPECT_EQ(mistake_in(A + " x\n"), "approved.txt:1: no two blanks, and no blank and *, follow the digest");
    EXPECT_EQ(mistake_in(A + "\n"), "approved.txt:1: no two blanks, and no blank and *, follow the digest");
    EXPECT_EQ(mistake_in(A + "  \n"), "approved.txt:1: the line names no file");
    EXPECT_EQ(mistake_in(A + "  a" + std::string(1, '\0') + "\n"),
              "approved.txt:1: the line holds a zero byte");
    EXPECT_EQ(mistake_in("\\" + A + "  a\\tb\n"),
              "approved.txt:1: a backslash in an escaped name is followed by none of \\, n and r");
    EXPECT_EQ(mistake_in("\\" + A + "  a\\"),
              "approved.txt:1: a backslash in an escaped name is followed by none of \\, n and r");
    EXPECT_EQ(mistake_in("\\\\" + A + "  a\n"),
              "approved.txt:1: the line begins with 0 hexadecimal digits in place of 64");
    EXPECT_EQ(mistake_in("SHA256 (design.bit) = " + A),
              "approved.txt:1: the line begins with 0 hexadecimal digits in place of 64");
}
} // namespace
