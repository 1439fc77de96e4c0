// SPDX-License-Identifier: Apache-2.0
// Virtual carrier boards: the public builder and inspector.
#include "virtual_carrier.h"

#include "rack.h"
#include "rack_reader.h"

#include <utility>

namespace mwvirtual
{
namespace
{

constexpr std::uint16_t LAST_BOARD = 15;

void require_slot(unsigned slot)
{
    if (slot < 1 || slot > SLOTS)
        throw std::invalid_argument("slots are numbered 1 to 4");
}

} // namespace

Board& Board::slot(unsigned number, const Module& module)
{
    require_slot(number);
    if (!module.keep_file.empty())
        require_plain_name(module.keep_file);
    rack_->put_module(index_, number, &module);
    return *this;
}

Board& Board::empty_slot(unsigned number)
{
    require_slot(number);
    rack_->put_module(index_, number, nullptr);
    return *this;
}

Board& Board::reached_over(const std::string& type, std::uint16_t number)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.reached_over.push_back({type, number}); });
    return *this;
}

Board& Board::opens(bool allowed)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.opens = allowed; });
    return *this;
}

Board& Board::latency(std::chrono::microseconds each_message)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.latency = each_message; });
    return *this;
}

Board& Board::bandwidth(std::uint64_t bytes_per_second)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.bytes_per_second = bytes_per_second; });
    return *this;
}

Board& Board::info_word(std::uint32_t word)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.info_word = word; });
    return *this;
}

Board& Board::drops_byte(std::uint64_t after)
{
    rack_->change_board(index_, [&](BoardSettings& board) { board.link_faults.push_back({after, true, 0}); });
    return *this;
}

Board& Board::flips_byte(std::uint64_t after, std::uint8_t mask)
{
    rack_->change_board(index_, [&](BoardSettings& board) {
        board.link_faults.push_back({after, false, mask});
    });
    return *this;
}

Carrier::Carrier() : Carrier{std::make_shared<Rack>()}
{
    rack_->keep_files_in(folder_of_environment());
}

Carrier::Carrier(std::shared_ptr<Rack> rack) : rack_{std::move(rack)}
{
    rack_->keep_state_in(state_folder_of_environment());
    put_in_force(rack_);
}

Carrier Carrier::from_toml(const std::string& text, const std::string& file_name)
{
    return from_toml(text, file_name, folder_of_environment());
}

Carrier Carrier::from_toml(const std::string& text, const std::string& file_name,
                           const std::string& keep_folder)
{
    return Carrier{read_rack(text, file_name, keep_folder)};
}

Carrier Carrier::from_file(const std::string& path)
{
    return from_file(path, folder_of_environment());
}

Carrier Carrier::from_file(const std::string& path, const std::string& keep_folder)
{
    return Carrier{read_rack_file(path, keep_folder)};
}

Carrier::Carrier(Carrier&& other) noexcept = default;

Carrier::~Carrier()
{
    if (rack_ != nullptr)
        take_out_of_force(rack_);
}

Board Carrier::board(const std::string& type, std::uint16_t number)
{
    if (number > LAST_BOARD)
        throw std::invalid_argument("boards are numbered 0 to 15");
    return {*rack_, rack_->add_board({type, number})};
}

void Carrier::fail_call(std::uint64_t n, std::uint32_t code, const std::string& text)
{
    rack_->plan({std::nullopt, n, code, text});
}

void Carrier::fail_call(Function function, std::uint64_t n, std::uint32_t code, const std::string& text)
{
    rack_->plan({function, n, code, text});
}

void Carrier::keep_folder(const std::string& path)
{
    rack_->keep_files_in(path);
}

void Carrier::state_folder(const std::string& path)
{
    rack_->keep_state_in(path);
}

Contents Carrier::contents(const std::string& type, std::uint16_t number, unsigned slot) const
{
    return rack_->contents({type, number}, slot);
}

std::vector<Call> Carrier::journal() const
{
    return rack_->journal();
}

std::vector<std::string> Carrier::journal_text(bool with_error_texts) const
{
    std::vector<std::string> lines;
    for (const Call& call : rack_->journal()) {
        if (with_error_texts || call.function != Function::MwErr2Text)
            lines.push_back(call.text());
    }
    return lines;
}

void Carrier::keep_journal(bool keep)
{
    rack_->keep_journal(keep);
}

void Carrier::forget_calls()
{
    rack_->forget_calls();
}

std::uint64_t Carrier::calls() const
{
    return rack_->calls();
}

std::vector<std::string> Carrier::misuse() const
{
    return rack_->misuse();
}

std::size_t Carrier::open_handles() const
{
    return rack_->open_handles();
}

void Carrier::on_wait(std::function<void(std::chrono::nanoseconds)> wait)
{
    rack_->on_wait(std::move(wait));
}

std::string Carrier::builtin_rack()
{
    return builtin_rack_text();
}

} // namespace mwvirtual
