// SPDX-License-Identifier: Apache-2.0
#include "hashing/configuration_digest.h"

#include "examples.h"
#include "file/digest.h"
#include "packing.h"
#include "support/bitstreams.h"
#include "support/bytes.h"

namespace
{
using hashing::ConfigurationDigest;
using kvn::Failure;

std::string plain_sum(const Bytes& data)
{
    hashing::Sha256 sum;
    sum.take(data);
    return sum.finish();
}

/// The digest of bytes that come in pieces of a size.
std::string digest(const Bytes& data, std::size_t piece, std::uint64_t missing_bits = 0)
{
    ConfigurationDigest digest;
    for (std::size_t i = 0; i < data.size(); i += piece)
        digest.take(std::span{data}.subspan(i, std::min(piece, data.size() - i)));
    digest.take({});
    return digest.finish(data.size() * 8 - missing_bits);
}

TEST(ConfigurationDigest, IsTheSumOfAllBytes)
{
    for (const std::size_t piece : {1U, 2U, 3U, 1000U}) {
        EXPECT_EQ(digest(bytes("01 02 FF 03"), piece), plain_sum(bytes("01 02 FF 03")));
        EXPECT_EQ(digest({}, piece), plain_sum({}));
        Bytes long_run(1000, 0xFF);
        long_run.push_back(0);
        EXPECT_EQ(digest(long_run, piece), plain_sum(long_run)) << "only ones at the end do not count";
    }
}

TEST(ConfigurationDigest, LeavesOutOnesAtTheEnd)
{
    for (const std::size_t piece : {1U, 2U, 3U, 1000U}) {
        EXPECT_EQ(digest(bytes("01 02 FF FF FF"), piece), plain_sum(bytes("01 02")));
        EXPECT_EQ(digest(bytes("FF FF"), piece), plain_sum({}));
        EXPECT_EQ(digest(bytes("01 FF FE FF"), piece), plain_sum(bytes("01 FF FE")));
    }
}

TEST(ConfigurationDigest, FillsUpALastByteThatIsNotWhole)
{
    for (const std::size_t piece : {1U, 2U, 3U, 1000U}) {
        EXPECT_EQ(digest(bytes("01 02 03"), piece, 4), plain_sum(bytes("01 02 F3")));
        EXPECT_EQ(digest(bytes("01 FF FF 07"), piece, 5), plain_sum(bytes("01")));
        EXPECT_EQ(digest(bytes("01 FF FF 03"), piece, 5), plain_sum(bytes("01 FF FF FB")));
    }
}

using Digest = ExampleTest;

TEST_F(Digest, IsTheSumOfTheConfigurationDataFirstBitInBit0)
{
    const fpga::Device& device = ExampleTest::device("2v40");
    const Data data = fpga::make_stream(device);
    const kvn::Digest digest = kvn::digest_of(bit(device, data));
    EXPECT_EQ(digest.sha256, plain_sum(fpga::reverse_each(data)));
    EXPECT_EQ(digest.bits, data.size() * 8);
}

TEST_F(Digest, IsTheSameForAPackedFile)
{
    const fpga::Device& device = ExampleTest::device("v50");
    const Data data = fpga::make_stream(device);
    const std::string digest = kvn::digest_of(bit(device, data)).sha256;
    for (const auto pack : {&gzip, &xz, &zstd})
        EXPECT_EQ(kvn::digest_of(input_of(pack(content("a.bit")), "packed")).sha256, digest);
}

TEST_F(Digest, FillBehindTheDataDoesNotCount)
{
    const fpga::Device& device = ExampleTest::device("s10xl");
    Data data = fpga::make_stream(device);
    ASSERT_NE(data.size() % 4, 0U);
    const std::string digest = kvn::digest_of(bit(device, data)).sha256;
    EXPECT_EQ(kvn::digest_of(rbt(device, data)).sha256, digest);
    data.resize((data.size() / 4 + 5) * 4, 0xFF);
    EXPECT_EQ(kvn::digest_of(bit(device, data)).sha256, digest);
    EXPECT_EQ(kvn::digest_of(rbt(device, data)).sha256, digest);
    EXPECT_EQ(kvn::digest_of(mcb(device, data)).sha256, digest);
}

TEST_F(Digest, EachBitCounts)
{
    const fpga::Device& device = ExampleTest::device("2v40");
    Data data = fpga::make_stream(device);
    const std::string digest = kvn::digest_of(bit(device, data)).sha256;
    data[100] ^= 1;
    EXPECT_NE(kvn::digest_of(bit(device, data)).sha256, digest);
}

TEST_F(Digest, DataThatAreCutOrDamagedHaveNone)
{
    const fpga::Device& device = ExampleTest::device("2v40");
    const Data data = fpga::make_stream(device);
    const auto why = [](const std::string& text, const std::string& name) {
        const Failure failure = failure_of([&] { (void)kvn::digest_of(input_of(text, name)); });
        EXPECT_EQ(failure.status, kvn::ExitStatus::damaged);
        EXPECT_EQ(failure.what, name + ": the configuration data are missing, cut or damaged");
        return failure.why;
    };
    (void)bit(device, data);
    (void)rbt(device, data);
    (void)mcb(device, data);
    const std::string bit_text = content("a.bit");
    EXPECT_EQ(why(bit_text.substr(0, bit_text.size() - 4), "a.bit"),
              "the header states 42372 bytes of configuration, the file holds 42368");
    const std::string rbt_text = content("a.rbt");
    EXPECT_EQ(why(rbt_text.substr(0, rbt_text.size() - 33), "a.rbt"),
              "the header states 338976 bits, the data lines hold 338944");
    const std::string mcb_text = content("a.mcb");
    EXPECT_EQ(why(mcb_text.substr(0, mcb_text.size() - 2), "a.mcb").substr(0, 60),
              "the header states 42372 bytes of configuration, the runs end");
    EXPECT_EQ(why("hello\n", "a.bit"), "the file is text, no RBT, BIT or MCB file");
    EXPECT_EQ(why("", "a.bit").substr(0, 30), "the file ends inside its heade");
}

TEST_F(Digest, AFileForAnotherFamilyHasOne)
{
    BitFile file{64};
    file.device = std::string{"3s500ecp132\0", 12};
    EXPECT_EQ(kvn::digest_of(input_of(file.content(), "misnamed.rbt")).bits, 512U);
}
} // namespace
