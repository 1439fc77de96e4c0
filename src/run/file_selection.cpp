// SPDX-License-Identifier: Apache-2.0
// Selects and opens the bitstream file of a run and determines its kind.
#include "kvnfpgai.h"
#include "support/text.h"

#include <cstring>
#include <string_view>

namespace
{
constexpr std::size_t EXTENSION_LENGTH = 4;
constexpr int NO_EXTENSION = 1;
constexpr int SAME_EXTENSION = 0;
constexpr int OTHER_EXTENSION = -1;

/// One kind of bitstream file: how it is opened and where the session notes it.
struct FileKind {
    const char* extension;
    const char* mode;
    FILE* kvn_fpga_imp::*stream;
    std::uint32_t kvn_fpga_imp::*flag;
    const char* question; ///< asked before a file of this kind is used in place of the named one
};

// Choice: text files are binary, too (docs/decisions/0054-binary-files-everywhere.md).
constexpr FileKind rbt_kind{".rbt", "rb", &kvn_fpga_imp::rbt_fp, &kvn_fpga_imp::file_is_rbt,
                            "Found only .rbt version of that file, should I use it [y/n]?"};
constexpr FileKind mcb_kind{".mcb", "rb", &kvn_fpga_imp::bin_fp, &kvn_fpga_imp::file_is_mcb,
                            "Found only .mcb version of that file, should I use it [y/n]?"};
constexpr FileKind bit_kind{".bit", "rb", &kvn_fpga_imp::bin_fp, &kvn_fpga_imp::file_is_bit,
                            "Found only .bit version of that file, should I use it [y/n]?"};

enum class Outcome { taken, refused, missing };

/// Opens the file of the session's name plus extension and notes it.
bool open_with_extension(kvn_fpga_imp& session, std::string_view name, const FileKind& kind,
                         char (&full_name)[256])
{
    if (!copy_with_extension(full_name, name, kind.extension))
        return false; // a name that leaves no room for its extension names no file
    session.*kind.stream = std::fopen(full_name, kind.mode);
    return session.*kind.stream != nullptr;
}

/// Uses the file of this kind if it exists.
bool try_kind(kvn_fpga_imp& session, std::string_view name, const FileKind& kind)
{
    char full_name[256];
    if (!open_with_extension(session, name, kind, full_name))
        return false;
    copy_text(session.bitstream_file, full_name);
    session.*kind.flag = 1;
    return true;
}

/// Offers the file of this kind, if it exists, in place of the named one. A refused file stays open until the
/// run ends.
Outcome offer_kind(kvn_fpga_imp& session, const FileKind& kind)
{
    std::string_view name{session.bitstream_file};
    name.remove_suffix(EXTENSION_LENGTH);
    char full_name[256];
    if (!open_with_extension(session, name, kind, full_name))
        return Outcome::missing;
    const signed char answer = session.xask_yn(kind.question);
    if (answer != 'y' && answer != 'Y')
        return Outcome::refused;
    copy_text(session.bitstream_file, full_name);
    session.*kind.flag = 1;
    return Outcome::taken;
}

bool open_named(kvn_fpga_imp& session, const FileKind& kind)
{
    session.*kind.stream = std::fopen(session.bitstream_file, kind.mode);
    if (session.*kind.stream == nullptr)
        return false;
    session.*kind.flag = 1;
    return true;
}

int select_without_extension(kvn_fpga_imp& session)
{
    const char* name = session.bitstream_file;
    if (session.make_rbt)
        return try_kind(session, name, mcb_kind)
                   ? 0
                   : session.fail("Error 9042. Cannot find/open %s.mcb file.", name);
    if (try_kind(session, name, rbt_kind))
        return 0;
    // Required: without an extension only an RBT file is compressed.
    if (session.make_mcb)
        return session.fail("Error 9040. Cannot find/open %s.rbt file.", name);
    if (try_kind(session, name, mcb_kind) || try_kind(session, name, bit_kind))
        return 0;
    return session.fail("Error 9041. Cannot find/open %s.[rbt/mcb/bit] file.", name);
}

int select_rbt(kvn_fpga_imp& session)
{
    const char* name = session.bitstream_file;
    if (session.make_rbt)
        return session.fail("Error 9043. Sorry, you cannot expand a .rbt file.");
    if (open_named(session, rbt_kind))
        return 0;
    if (!session.prompt_user || session.make_mcb)
        return session.fail("Error 9044. Cannot find/open %s file.", name);
    Outcome outcome = offer_kind(session, mcb_kind);
    if (outcome == Outcome::missing)
        outcome = offer_kind(session, bit_kind);
    if (outcome == Outcome::missing)
        return session.fail("Error 9045. Cannot find/open %s file.", name);
    if (outcome == Outcome::refused)
        return session.fail("Error 9046. Cannot find/open %s file.", name);
    return 0;
}

int select_mcb(kvn_fpga_imp& session)
{
    const char* name = session.bitstream_file;
    if (session.make_mcb)
        return session.fail("Error 9047. Sorry, cannot compress a .mcb file.");
    if (open_named(session, mcb_kind))
        return 0;
    if (!session.prompt_user || session.make_rbt)
        return session.fail("Error 9048. Cannot find/open %s file.", name);
    const Outcome outcome = offer_kind(session, rbt_kind);
    if (outcome == Outcome::refused)
        return session.fail("Error 9050. Cannot find/open %s file.", name);
    if (outcome == Outcome::taken || offer_kind(session, bit_kind) == Outcome::taken)
        return 0;
    return session.fail("Error 9049. Cannot find/open %s file.", name);
}

int select_bit(kvn_fpga_imp& session)
{
    const char* name = session.bitstream_file;
    if (session.make_rbt)
        return session.fail("Error 9054. Sorry, expanding a .bit file is not supported.");
    if (open_named(session, bit_kind))
        return 0;
    // Required: the questions are asked whatever the action, compressing included.
    if (session.prompt_user) {
        Outcome outcome = offer_kind(session, rbt_kind);
        if (outcome == Outcome::missing)
            outcome = offer_kind(session, mcb_kind);
        if (outcome == Outcome::taken)
            return 0;
    }
    return session.fail("Error 9055. Cannot find/open %s file.", name);
}
} // namespace

// Choice: a name of fewer than four characters has no extension (docs/decisions/0003-names-and-texts.md).
int kvn_fpga_imp::Check_Extension(const char* name, const char* ext)
{
    const std::string_view text{name};
    if (text.size() < EXTENSION_LENGTH || text[text.size() - EXTENSION_LENGTH] != '.')
        return NO_EXTENSION;
    return text.ends_with(ext) ? SAME_EXTENSION : OTHER_EXTENSION;
}

/// Asks until a usable name is given. Returns OTHER_EXTENSION only when standard input has ended.
int kvn_fpga_imp::Request_Rbt_File()
{
    for (;;) {
        const int result =
            xaskstring("Enter the name of the bitstream RBT, MCB, or BIT file:", bitstream_file);
        if (bitstream_file[0] == '\0') {
            // Choice: after the end of input there will be no answer, so asking again would never end
            // (docs/decisions/0002-answers.md).
            if (user_askstring == nullptr && result == 0)
                return OTHER_EXTENSION;
            continue;
        }
        for (const FileKind* kind : {&rbt_kind, &mcb_kind, &bit_kind}) {
            const int extension = Check_Extension(bitstream_file, kind->extension);
            if (extension != OTHER_EXTENSION)
                return extension;
        }
        print("Error: incorrect extension. A RBT, MCB, or BIT file must be supplied\n");
    }
}

// Each named kind has its own order in which the other kinds are tried.
int kvn_fpga_imp::determine_bitstream_type()
{
    if (!file_is_rbt && (!prompt_user || Request_Rbt_File() == OTHER_EXTENSION))
        return fail("Error 9052. No RBT, MCB, or BIT file specified (-f option).");
    file_is_rbt = 0;
    file_is_mcb = 0;
    file_is_bit = 0;
    const int extension = Check_Extension(bitstream_file, rbt_kind.extension);
    if (extension == NO_EXTENSION)
        return select_without_extension(*this);
    if (extension == SAME_EXTENSION)
        return select_rbt(*this);
    if (Check_Extension(bitstream_file, mcb_kind.extension) == SAME_EXTENSION)
        return select_mcb(*this);
    if (Check_Extension(bitstream_file, bit_kind.extension) == SAME_EXTENSION)
        return select_bit(*this);
    return fail("Error 9051. Incorrect file extension in %s (should be *.rbt, *.mcb, *.bit, or none).",
                bitstream_file);
}
