// SPDX-License-Identifier: Apache-2.0
// The one table of the sixteen functions: names, operations, arguments and what each argument means.
//
// Forwarders, loader, recorder, replay and the journal of the virtual carriers are all made from it.
#ifndef MWAPI_CALLS_H
#define MWAPI_CALLS_H

#include "platform.h"

#include <array>
#include <concepts>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

namespace mwapi
{

/// The functions in the order of mwapi.h, which is that of the table.
enum class Function : unsigned {
    MwOpenS,
    MwClose,
    MwErr2Text,
    MwGetBoardInfo,
    MwGetDeviceInfo,
    MwInitIoStatus,
    MwKSBSendMessage,
    MwKSBReceiveMessage,
    MwKSBSendMessageEx,
    MwKSBReceiveMessageEx,
    MwKSBStartSendMessageEx,
    MwKSBSendMessageDataEx,
    MwKSBEndOfSendMessageEx,
    MwKSBStartReceiveMessageEx,
    MwKSBReceiveMessageDataEx,
    MwKSBEndOfReceiveMessageEx
};

/// The functions as pointers: what a call is bound to.
struct Functions {
    decltype(&::MwOpenS) MwOpenS = nullptr;
    decltype(&::MwClose) MwClose = nullptr;
    decltype(&::MwErr2Text) MwErr2Text = nullptr;
    decltype(&::MwGetBoardInfo) MwGetBoardInfo = nullptr;
    decltype(&::MwGetDeviceInfo) MwGetDeviceInfo = nullptr;
    decltype(&::MwInitIoStatus) MwInitIoStatus = nullptr;
    decltype(&::MwKSBSendMessage) MwKSBSendMessage = nullptr;
    decltype(&::MwKSBReceiveMessage) MwKSBReceiveMessage = nullptr;
    decltype(&::MwKSBSendMessageEx) MwKSBSendMessageEx = nullptr;
    decltype(&::MwKSBReceiveMessageEx) MwKSBReceiveMessageEx = nullptr;
    decltype(&::MwKSBStartSendMessageEx) MwKSBStartSendMessageEx = nullptr;
    decltype(&::MwKSBSendMessageDataEx) MwKSBSendMessageDataEx = nullptr;
    decltype(&::MwKSBEndOfSendMessageEx) MwKSBEndOfSendMessageEx = nullptr;
    decltype(&::MwKSBStartReceiveMessageEx) MwKSBStartReceiveMessageEx = nullptr;
    decltype(&::MwKSBReceiveMessageDataEx) MwKSBReceiveMessageDataEx = nullptr;
    decltype(&::MwKSBEndOfReceiveMessageEx) MwKSBEndOfReceiveMessageEx = nullptr;
};

/// What an argument is, and so in which direction it goes and how it is written down.
enum class Kind {
    // The caller gives it.
    number,
    text,   ///< may be null
    handle, ///< an open device
    data,   ///< as many bytes as the argument "length" says; may be null
    // The platform writes it to where the argument leads.
    number_out,
    text_out,  ///< a buffer of the argument's size
    words_out, ///< as many words as the argument's size
    data_out,  ///< as many bytes as "received" says, but not more than "size"
    handle_out,
    // Both.
    closed_handle, ///< the handle given, and whether it was cleared
    // Neither.
    reserved
};

struct Argument {
    std::string_view name;
    Kind kind = Kind::reserved;
    std::size_t size = 0;

    /// Whether the caller gives it.
    [[nodiscard]] constexpr bool is_given() const
    {
        return kind == Kind::number || kind == Kind::text || kind == Kind::handle || kind == Kind::data ||
               kind == Kind::closed_handle;
    }
    /// Whether the platform writes to where it leads.
    [[nodiscard]] constexpr bool is_written() const
    {
        return kind == Kind::number_out || kind == Kind::text_out || kind == Kind::words_out ||
               kind == Kind::data_out || kind == Kind::handle_out || kind == Kind::closed_handle;
    }
};

/// Whether a parameter of this type can be an argument of that kind.
template <class Parameter>
constexpr bool fits(Kind kind)
{
    switch (kind) {
    case Kind::number:
        return std::unsigned_integral<Parameter>;
    case Kind::text:
        return std::is_same_v<Parameter, const char*>;
    case Kind::handle:
        return std::is_same_v<Parameter, MW_HANDLE*>;
    case Kind::data:
        return std::is_same_v<Parameter, const void*>;
    case Kind::number_out:
        return std::is_pointer_v<Parameter> && std::unsigned_integral<std::remove_pointer_t<Parameter>>;
    case Kind::text_out:
        return std::is_same_v<Parameter, char*>;
    case Kind::words_out:
    case Kind::reserved:
        return std::is_same_v<Parameter, std::uint32_t*>;
    case Kind::data_out:
        return std::is_same_v<Parameter, void*>;
    case Kind::handle_out:
    case Kind::closed_handle:
        return std::is_same_v<Parameter, MW_HANDLE**>;
    }
    return false;
}

/// A row of the table. Operation and function must have the same parameters, and the arguments described must
/// fit them; otherwise the row does not compile.
template <class... Parameters>
struct Call {
    consteval Call(const char* its_name, std::uint32_t (Platform::*its_operation)(Parameters...),
                   std::uint32_t (*Functions::*its_function)(Parameters...),
                   std::array<Argument, sizeof...(Parameters)> its_arguments)
        : name{its_name}, operation{its_operation}, function{its_function}, arguments{its_arguments}
    {
        check(std::index_sequence_for<Parameters...>{});
    }

    const char* name;
    std::uint32_t (Platform::*operation)(Parameters...);
    std::uint32_t (*Functions::*function)(Parameters...);
    std::array<Argument, sizeof...(Parameters)> arguments;

private:
    template <std::size_t... places>
    consteval void check(std::index_sequence<places...> /*all*/) const
    {
        if (!(fits<Parameters>(arguments[places].kind) && ...))
            throw "an argument does not fit its parameter";
    }
};

inline constexpr std::tuple CALLS{
    Call{"MwOpenS",
         &Platform::open,
         &Functions::MwOpenS,
         {Argument{"board_type", Kind::text},
          {"board", Kind::number},
          {"device", Kind::text},
          {"handle", Kind::handle_out},
          {"reserved", Kind::reserved}}},
    Call{"MwClose", &Platform::close, &Functions::MwClose, {Argument{"handle", Kind::closed_handle}}},
    Call{"MwErr2Text",
         &Platform::error_text,
         &Functions::MwErr2Text,
         {Argument{"code", Kind::number}, {"text", Kind::text_out, ERROR_TEXT_SIZE}}},
    Call{"MwGetBoardInfo",
         &Platform::board_info,
         &Functions::MwGetBoardInfo,
         {Argument{"board_type", Kind::text},
          {"board", Kind::number},
          {"record", Kind::words_out, BOARD_INFO_WORDS}}},
    Call{"MwGetDeviceInfo",
         &Platform::device_info,
         &Functions::MwGetDeviceInfo,
         {Argument{"handle", Kind::handle},
          {"board_type", Kind::text_out, BOARD_TYPE_SIZE},
          {"board", Kind::number_out},
          {"kind", Kind::number_out}}},
    Call{"MwInitIoStatus",
         &Platform::init_io_status,
         &Functions::MwInitIoStatus,
         {Argument{"handle", Kind::handle}, {"io_status", Kind::number_out}}},
    Call{"MwKSBSendMessage",
         &Platform::send,
         &Functions::MwKSBSendMessage,
         {Argument{"handle", Kind::handle},
          {"type", Kind::number},
          {"slot", Kind::number},
          {"data", Kind::data},
          {"length", Kind::number},
          {"timeout", Kind::number}}},
    Call{"MwKSBReceiveMessage",
         &Platform::receive,
         &Functions::MwKSBReceiveMessage,
         {Argument{"handle", Kind::handle},
          {"type", Kind::number_out},
          {"slot", Kind::number},
          {"data", Kind::data_out},
          {"size", Kind::number},
          {"received", Kind::number_out},
          {"timeout", Kind::number}}},
    Call{"MwKSBSendMessageEx",
         &Platform::send_ex,
         &Functions::MwKSBSendMessageEx,
         {Argument{"handle", Kind::handle},
          {"type", Kind::number},
          {"board", Kind::number},
          {"slot", Kind::number},
          {"data", Kind::data},
          {"length", Kind::number},
          {"timeout", Kind::number}}},
    Call{"MwKSBReceiveMessageEx",
         &Platform::receive_ex,
         &Functions::MwKSBReceiveMessageEx,
         {Argument{"handle", Kind::handle},
          {"type", Kind::number_out},
          {"board", Kind::number},
          {"slot", Kind::number},
          {"data", Kind::data_out},
          {"size", Kind::number},
          {"received", Kind::number_out},
          {"timeout", Kind::number}}},
    Call{"MwKSBStartSendMessageEx",
         &Platform::start_send,
         &Functions::MwKSBStartSendMessageEx,
         {Argument{"handle", Kind::handle},
          {"board", Kind::number},
          {"slot", Kind::number},
          {"timeout", Kind::number}}},
    Call{"MwKSBSendMessageDataEx",
         &Platform::send_data,
         &Functions::MwKSBSendMessageDataEx,
         {Argument{"handle", Kind::handle},
          {"data", Kind::data},
          {"length", Kind::number},
          {"timeout", Kind::number}}},
    Call{"MwKSBEndOfSendMessageEx",
         &Platform::end_send,
         &Functions::MwKSBEndOfSendMessageEx,
         {Argument{"handle", Kind::handle}, {"timeout", Kind::number}}},
    Call{"MwKSBStartReceiveMessageEx",
         &Platform::start_receive,
         &Functions::MwKSBStartReceiveMessageEx,
         {Argument{"handle", Kind::handle}, {"type", Kind::number_out}, {"timeout", Kind::number}}},
    Call{"MwKSBReceiveMessageDataEx",
         &Platform::receive_data,
         &Functions::MwKSBReceiveMessageDataEx,
         {Argument{"handle", Kind::handle},
          {"data", Kind::data_out},
          {"size", Kind::number},
          {"received", Kind::number_out},
          {"timeout", Kind::number}}},
    Call{"MwKSBEndOfReceiveMessageEx",
         &Platform::end_receive,
         &Functions::MwKSBEndOfReceiveMessageEx,
         {Argument{"handle", Kind::handle}, {"timeout", Kind::number}}},
};
inline constexpr std::size_t FUNCTION_COUNT = std::tuple_size_v<decltype(CALLS)>;

/// The row of a function that is known while compiling.
template <Function function>
inline constexpr const auto& CALL = std::get<static_cast<std::size_t>(function)>(CALLS);

/// A row without its types, for code that treats all functions alike.
struct Description {
    std::string_view name;
    std::span<const Argument> arguments;
};

inline constexpr std::array<Description, FUNCTION_COUNT> DESCRIPTIONS = std::apply(
    [](const auto&... calls) {
        return std::array{Description{calls.name, calls.arguments}...};
    },
    CALLS);

[[nodiscard]] constexpr const Description& describe(Function function)
{
    return DESCRIPTIONS[static_cast<std::size_t>(function)];
}

/// The arguments of a call in hand, as the table describes them.
class Value
{
public:
    explicit Value(std::uint32_t number) : number_{number} {}
    template <class Target>
    explicit Value(Target* pointer)
        // Whether it may be written to is for the argument's kind to say.
        : pointer_{const_cast<std::remove_const_t<Target>*>(pointer)}
    {
        if constexpr (std::unsigned_integral<Target>)
            number_ = sizeof(Target);
    }

    [[nodiscard]] std::uint32_t number() const { return number_; }
    template <class Target>
    [[nodiscard]] Target* pointer() const
    {
        return static_cast<Target*>(pointer_);
    }
    [[nodiscard]] bool is_null() const { return pointer_ == nullptr; }

    /// The number that a number_out leads to, and another in its place. It is as wide as the parameter.
    [[nodiscard]] std::uint32_t read() const
    {
        return number_ == 1   ? *pointer<std::uint8_t>()
               : number_ == 2 ? *pointer<std::uint16_t>()
                              : *pointer<std::uint32_t>();
    }
    void write(std::uint32_t number) const
    {
        if (number_ == 1)
            *pointer<std::uint8_t>() = static_cast<std::uint8_t>(number);
        else if (number_ == 2)
            *pointer<std::uint16_t>() = static_cast<std::uint16_t>(number);
        else
            *pointer<std::uint32_t>() = number;
    }

private:
    void* pointer_ = nullptr;
    std::uint32_t number_ = 0; ///< of a pointer to a number, how many bytes that has
};

using Values = std::span<const Value>;

template <class... Arguments>
[[nodiscard]] std::array<Value, sizeof...(Arguments)> values(Arguments... arguments)
{
    return {Value{arguments}...};
}

/// The value of the argument of that name, which the function must have.
[[nodiscard]] inline const Value& value_of(const Description& call, Values values, std::string_view name)
{
    std::size_t place = 0;
    while (call.arguments[place].name != name)
        ++place;
    return values[place];
}

template <class Way, Function function, class... Parameters>
consteval void bind(Functions& functions, const Call<Parameters...>& call)
{
    functions.*call.function = &Way::template answer<function, Parameters...>;
}

template <class Way, std::size_t... places>
[[nodiscard]] consteval Functions functions_by(std::index_sequence<places...> /*all*/)
{
    Functions made;
    (bind<Way, static_cast<Function>(places)>(made, std::get<places>(CALLS)), ...);
    return made;
}

/// Functions that are all made alike: for each, Way::answer<function>.
template <class Way>
[[nodiscard]] consteval Functions functions_by()
{
    return functions_by<Way>(std::make_index_sequence<FUNCTION_COUNT>{});
}

} // namespace mwapi

#endif
