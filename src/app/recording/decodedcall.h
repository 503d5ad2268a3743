#pragma once

// A call as it stands in a recording, in the form in which it is read: one value for each parameter. The
// recorder writes the same forms (app/recorder/forward.h). Plain objects.
//
//     parameter                     in the file
//     ---------                     -----------
//     a number, a name, a token     that number
//     a text, a list of values      0 for null, else its length and 1, then its values
//     a pointer for answers         as a list, of the answers that a replay needs, often none
//     a device or a context         the number that the recorder gave the handle, 0 for null
//     sample data                   0 for null or what wasn't read, else the number of the samples and 1
//     a callback                    0 for null, else 1
//     what the call returned        as a parameter of its type; nothing for void, texts and functions

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "app/recording/bytes.h"
#include "app/recording/calltable.h"

namespace recording {

struct Handle {
    std::uint64_t number = 0;
};
struct Samples {
    std::optional<std::uint64_t> number;
};
struct Callback {
    bool isGiven = false;
};
template <typename T>
struct Answers {
    bool isGiven = false;
    std::vector<T> values;  ///< those that were recorded
};
struct Nothing {};

/// A pointee is read by the call where it is const.
template <typename T>
inline constexpr bool isValue = std::is_arithmetic_v<T>;
template <typename T>
inline constexpr bool isHandle = std::is_same_v<T, ALCdevice*> || std::is_same_v<T, ALCcontext*>;
template <typename T>
inline constexpr bool isText = std::is_same_v<T, const ALchar*>;
template <typename T>
inline constexpr bool isSamples = std::is_same_v<T, const ALvoid*> || std::is_same_v<T, ALvoid*>;
template <typename T>
inline constexpr bool isCallback = std::is_same_v<T, LPALFOLDBACKCALLBACK>;
template <typename T>
inline constexpr bool isList =
    std::is_pointer_v<T>&& std::is_const_v<std::remove_pointer_t<T>> && !isText<T> && !isSamples<T>;

template <typename T>
std::vector<T> TakeList(ByteReader& reader, std::uint64_t lengthAndOne) {
    if (lengthAndOne - 1 > reader.Left())
        throw slib::BadDataException("A list of the recording is longer than its record.");
    std::vector<T> values(static_cast<std::size_t>(lengthAndOne - 1));
    std::generate(values.begin(), values.end(), [&] { return reader.Take<T>(); });
    return values;
}

/// Reads what stands for a parameter of type `T`.
template <typename T>
auto Decode(ByteReader& reader) {
    if constexpr (isValue<T>) {
        return reader.Take<T>();
    } else if constexpr (isHandle<T>) {
        return Handle{reader.Number()};
    } else if constexpr (isCallback<T>) {
        return Callback{reader.Number() != 0};
    } else if constexpr (isSamples<T>) {
        const std::uint64_t number = reader.Number();
        return number == 0 ? Samples{} : Samples{number - 1};
    } else if constexpr (isText<T>) {
        const std::uint64_t length = reader.Number();
        if (length == 0) return std::optional<std::string>();
        return std::optional<std::string>(reader.Bytes(length - 1));
    } else {
        using Value = std::remove_const_t<std::remove_pointer_t<T>>;
        const std::uint64_t length = reader.Number();
        std::optional<std::vector<Value>> list;
        if (length != 0) list = TakeList<Value>(reader, length);
        if constexpr (isList<T>)
            return list;
        else
            return Answers<Value>{list.has_value(), list.value_or(std::vector<Value>())};
    }
}

/// Whether a recording holds what a call of that type returned.
template <typename Result>
inline constexpr bool isResultKept = isValue<Result> || isHandle<Result>;

template <typename Function>
struct DecodedCall;

template <typename Result, typename... Parameters>
struct DecodedCall<Result(Parameters...)> {
    using Arguments = std::tuple<decltype(Decode<Parameters>(std::declval<ByteReader&>()))...>;
    using Kept = std::conditional_t<isHandle<Result>, Handle,
                                    std::conditional_t<isResultKept<Result>, Result, Nothing>>;

    /// Reads a whole record. Throws slib::BadDataException for one that is no call of this type.
    explicit DecodedCall(ByteReader reader)
        : arguments{Decode<Parameters>(reader)...}, result(TakeResult(reader)) {
        if (!reader.IsAtEnd())
            throw slib::BadDataException("A record of the recording is longer than its call.");
    }

    Arguments arguments;
    Kept result;

private:
    static Kept TakeResult(ByteReader& reader) {
        if constexpr (isResultKept<Result>)
            return Decode<Result>(reader);
        else
            return {};
    }
};

}  // namespace recording
