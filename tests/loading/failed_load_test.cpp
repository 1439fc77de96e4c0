// SPDX-License-Identifier: Apache-2.0
// What a platform sees of the process while it gives the text of a failed load.
#include "load_fixture.h"

namespace
{
/// The descriptors that were open when the library asked for a text; 0 if it has not.
thread_local std::size_t descriptors_at_text = 0;
} // namespace

extern "C" {
std::uint32_t __real_MwErr2Text(std::uint32_t code, char* text);

std::uint32_t __wrap_MwErr2Text(std::uint32_t code, char* text)
{
    descriptors_at_text = count_descriptors();
    return __real_MwErr2Text(code, text);
}
}

namespace
{
class FailedLoad : public LoadFixture
{
protected:
    /// Lets the load's second call fail: the load header.
    template <class Load>
    void expect_file_open_at_text(int number, Load load_file)
    {
        descriptors_at_text = 0;
        const std::size_t before = count_descriptors();
        platform.fail("SendMessageDataEx");
        EXPECT_EQ(load_file().number, number);
        EXPECT_EQ(descriptors_at_text, before + 1);
        EXPECT_EQ(count_descriptors(), before);
    }
};
} // namespace

TEST_F(FailedLoad, ItsFileIsClosedAfterTheTextOfError9106OrError9351OrError9157)
{
    RbtFile{}.write();
    BitFile{}.write();
    McbFile{}.write();
    expect_file_open_at_text(9106, [this] { return load_rbt(); });
    expect_file_open_at_text(9351, [this] { return load_bit(); });
    expect_file_open_at_text(9157, [this] { return load_mcb(); });
}
