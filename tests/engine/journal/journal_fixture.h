// SPDX-License-Identifier: Apache-2.0
// Journals in a folder of their own.
#ifndef KVN_FPGA_TESTS_ENGINE_JOURNAL_JOURNAL_FIXTURE_H
#define KVN_FPGA_TESTS_ENGINE_JOURNAL_JOURNAL_FIXTURE_H

#include "errors/failure.h"
#include "hashing/sha256.h"
#include "run/journal.h"
#include "run/journal_reader.h"
#include "support/folder_test.h"
#include "support/journals.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

inline std::string sha256_of(const std::string& text)
{
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    return sum.finish();
}

inline std::optional<kvn::Failure> failure_of(const std::function<void()>& action)
{
    try {
        action();
    } catch (const kvn::FailureError& error) {
        return error.failure();
    }
    return std::nullopt;
}

class JournalTest : public FolderTest
{
protected:
    [[nodiscard]] std::string file() const { return path("rack.journal"); }
    [[nodiscard]] std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator{folder})
            names.push_back(entry.path().filename().string());
        return names;
    }
    [[nodiscard]] kvn::Journal begin() const { return {file(), journals::header(), journals::planned(2)}; }
};

#endif
