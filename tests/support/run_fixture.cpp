// SPDX-License-Identifier: Apache-2.0
// A fixture for runs of the session: a temporary folder, a platform, callbacks, one log for all that happens.
#include "support/run_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <ostream>
#include <stdexcept>

thread_local RunFixture* RunFixture::current_ = nullptr;

void report_broken_rule(const std::string& rule)
{
    ADD_FAILURE() << rule;
}

void PrintTo(const Result& result, std::ostream* out)
{
    *out << result.number << " \"" << escaped(result.text) << "\" (last_error " << result.last_error << ')';
}

Result Fails(std::string text)
{
    const int number = stated_number(text);
    return Fails(number, std::move(text));
}

Result Fails(int number, std::string text)
{
    return {number, std::move(text), number};
}

Result Succeeds()
{
    return {0, "", 0};
}

std::string printed(std::string_view text)
{
    return "| " + escaped(text);
}

std::string asked_key(std::string_view text)
{
    return "?key " + escaped(text);
}

std::string asked_line(std::string_view text)
{
    return "?line " + escaped(text);
}

std::string asked_yn(std::string_view text)
{
    return "?yn " + escaped(text);
}

std::string answered(std::string_view text)
{
    return "! " + escaped(text);
}

RunFixture::RunFixture() : descriptors_before_{count_descriptors()}
{
    current_ = this;
    install_callbacks(session);
}

RunFixture::~RunFixture()
{
    current_ = nullptr;
}

void RunFixture::TearDown()
{
    EXPECT_EQ(count_descriptors(), descriptors_before_) << "descriptors left open";
    EXPECT_EQ(platform.open_handles(), 0) << "handles left open";
    EXPECT_TRUE(answers.empty()) << "an answer that nobody asked for";
}

void RunFixture::write_file(const std::string& name, std::string_view content)
{
    write_whole_file(name, content);
}

std::string RunFixture::read_file(const std::string& name)
{
    EXPECT_TRUE(file_exists(name)) << name;
    return read_whole_file(name);
}

bool RunFixture::file_exists(const std::string& name)
{
    return std::filesystem::exists(name);
}

Result RunFixture::run(std::vector<std::string> arguments, MW_HANDLE* handle)
{
    arguments.insert(arguments.begin(), "KVN_FPGA");
    Arguments line{arguments};
    return result(session.kvn_fpga(handle, line.argc(), line.argv()));
}

Result RunFixture::run_without_handle(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "KVN_FPGA");
    Arguments line{arguments};
    return result(session.kvn_fpga(line.argc(), line.argv()));
}

void RunFixture::open_bus(const std::string& type, std::uint16_t number)
{
    session.handle = platform.opened_bus(type, number);
    type.copy(session.board_type, sizeof session.board_type - 1);
    session.board_number = number;
}

void RunFixture::close_bus()
{
    session.Close_KSB();
}

void RunFixture::close_files()
{
    for (FILE** file : {&session.rbt_fp, &session.bin_fp})
        if (*file != nullptr)
            std::fclose(std::exchange(*file, nullptr));
}

std::vector<std::string> RunFixture::console() const
{
    std::vector<std::string> lines;
    for (const std::string& line : platform.log)
        if (!line.starts_with("* "))
            lines.push_back(line);
    return lines;
}

std::string RunFixture::joined(const std::vector<std::string>& lines)
{
    std::string all = "\n";
    for (const std::string& line : lines)
        all += line + '\n';
    return all;
}

std::vector<std::string> RunFixture::prints() const
{
    std::vector<std::string> texts;
    for (const std::string& line : platform.log)
        if (line.starts_with("| "))
            texts.push_back(line.substr(2));
    return texts;
}

std::string RunFixture::next_answer(std::string_view question)
{
    // A question without an answer could be asked for ever: leave the run.
    if (answers.empty())
        throw std::runtime_error{"no answer to: " + std::string{question}};
    std::string text = answers.front();
    answers.pop_front();
    return text;
}

void RunFixture::on_print(char* text)
{
    current_->platform.log.push_back(printed(text));
}

int RunFixture::on_key(char* text, void* nothing)
{
    EXPECT_EQ(nothing, nullptr);
    current_->platform.log.push_back(asked_key(text));
    return current_->key;
}

int RunFixture::on_line(char* text, void* answer)
{
    current_->platform.log.push_back(asked_line(text));
    const std::string given = current_->next_answer(text);
    current_->platform.log.push_back(answered(given));
    // The buffer holds 256 bytes.
    char* buffer = static_cast<char*>(answer);
    buffer[given.copy(buffer, 255)] = '\0';
    return 0;
}

int RunFixture::on_yn(char* text, void* nothing)
{
    EXPECT_EQ(nothing, nullptr);
    current_->platform.log.push_back(asked_yn(text));
    const std::string given = current_->next_answer(text);
    current_->platform.log.push_back(answered(given));
    return given.empty() ? 0 : static_cast<unsigned char>(given[0]);
}
