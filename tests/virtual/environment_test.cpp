// The rack that MWVIRTUAL_RACK names, as a program meets it that knows nothing of virtual carriers.
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace
{

namespace fs = std::filesystem;

class Environment : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "kvn_rack_XXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        folder_ = name;
    }
    void TearDown() override { fs::remove_all(folder_); }

    [[nodiscard]] std::string describe(const std::string& text) const
    {
        const fs::path path = folder_ / "rack.toml";
        std::ofstream{path} << text;
        return path.string();
    }

    /// Standard error and standard output of the probe, in this order.
    [[nodiscard]] static std::string probe(const std::string& rack, const std::string& arguments)
    {
        struct PipeCloser {
            void operator()(std::FILE* pipe) const noexcept { (void)::pclose(pipe); }
        };
        const std::string setting =
            rack.empty() ? "unset MWVIRTUAL_RACK; " : "export MWVIRTUAL_RACK='" + rack + "'; ";
        const std::unique_ptr<std::FILE, PipeCloser> pipe{
            ::popen((setting + "'" RACK_PROBE "' " + arguments + " 2>&1").c_str(), "r")};
        std::string output;
        std::array<char, 1024> line{};
        while (std::fgets(line.data(), line.size(), pipe.get()) != nullptr)
            output += line.data();
        return output;
    }

private:
    fs::path folder_;
};

TEST_F(Environment, WithoutADescriptionTheBuiltinRackIsThere)
{
    EXPECT_EQ(probe("", "mwc4a 0 mwc4a 1 mwc4a 2"), "mwc4a 0: 0x00000000 no error\n"
                                                    "mwc4a 1: 0x00000000 no error\n"
                                                    "mwc4a 2: 0xE0000002 the rack has no such board\n");
}

TEST_F(Environment, TheDescribedRackTakesItsPlace)
{
    EXPECT_EQ(probe(describe("[[board]]\ntype = \"mwx2\"\nnumber = 7\n"), "mwc4a 0 mwx2 7"),
              "mwc4a 0: 0xE0000002 the rack has no such board\n"
              "mwx2 7: 0x00000000 no error\n");
}

TEST_F(Environment, AMistakeIsToldOnceAndByEveryOpening)
{
    const std::string rack = describe("[[board]]\ntype = \"mwx2\"\nnumber = 77\n");
    const std::string mistake = rack + ":3: \"number\" must be a whole number from 0 to 15";
    EXPECT_EQ(probe(rack, "mwc4a 0 mwx2 7"), "mwvirtual: " + mistake + "\n" +              //
                                                 "mwc4a 0: 0xE0000001 " + mistake + "\n" + //
                                                 "mwx2 7: 0xE0000001 " + mistake + "\n");
}

TEST_F(Environment, ALongMistakeIsCutToWhatItsTextHolds)
{
    const std::string rack = describe("[[board]]\n" + std::string(400, 'x') + " = 1\n");
    const std::string output = probe(rack, "mwc4a 0");
    const std::string text = output.substr(output.find("0xE0000001 ") + 11);
    EXPECT_EQ(text.size(), 256U) << "255 characters and a line feed";
    EXPECT_TRUE(text.starts_with(rack + ":2: unknown key \"xxx"));
}

} // namespace
