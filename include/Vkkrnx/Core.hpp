/**
 * @file Core.hpp
 * Result codes, and how functions report them: as exceptions or as codes, by the caller's choice. Vkkrnx.hpp includes
 * it.
 */
#ifndef VKKRNX_CORE_HPP
#define VKKRNX_CORE_HPP

#if defined(VKKRNX_BUILD)
#error "Vkkrnx.hpp is for users of the library; the library itself has a vk of its own"
#endif

#include "../Vkkrnx.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>

/// 1 where exceptions are turned on. The inline namespace differs, since inline functions do.
#if defined(__cpp_exceptions)
#define VKKRNX_EXCEPTIONS 1
#define VKKRNX_ABI cpp1
#include <exception>
#include <stdexcept>
#else
#define VKKRNX_EXCEPTIONS 0
#define VKKRNX_ABI cpp1_without_exceptions
#endif

/// Keeps the way of failures out of the way of successes.
#if defined(__GNUC__)
#define VKKRNX_COLD __attribute__((cold, noinline))
#else
#define VKKRNX_COLD __declspec(noinline)
#endif

/// C++ classes over the C interface of Vkkrnx.
namespace vk {
inline namespace VKKRNX_ABI {

/// Result codes. What a callback answers is passed through, so other numbers are possible.
enum class Code : int {
    success = V_SUCCESS,
    failure = V_FAILURE,
    success_abort = V_SUCCESS_ABORT,
    success_delete_file = V_SUCCESS_DELETE_FILE,
    success_retry = V_SUCCESS_RETRY,
    success_ignore_marker = V_SUCCESS_IGNORE_MARKER,
    no_memory = V_ERROR_NO_MEMORY,
    invalid_image = V_ERROR_INVALID_IMAGE,
    memory_too_large = V_ERROR_MEMORY_TOO_LARGE,
    file_seek = V_ERROR_FILE_SEEK,
    file_write = V_ERROR_FILE_WRITE,
    file_gone = V_ERROR_FILE_GONE,
    file_read = V_ERROR_FILE_READ,
    invalid_filename = V_ERROR_INVALID_FILENAME,
    file_not_found = V_ERROR_FILE_NOT_FOUND,
    invalid_width_height = V_ERROR_INVALID_WIDTH_HEIGHT,
    invalid_parameter = V_ERROR_INVALID_PARAMETER,
    file_open = V_ERROR_FILE_OPEN,
    feature_not_supported = V_ERROR_FEATURE_NOT_SUPPORTED,
    invalid_bits_per_pixel = V_ERROR_INVALID_BITS_PER_PIXEL,
    user_abort = V_ERROR_USER_ABORT,
    internal = V_ERROR_INTERNAL,
    time_out = VKRESULT_TIMEOUT,
    invalid_tile = V_ERROR_INVALID_TILE,
    invalid_handle = V_ERROR_INVALID_HANDLE,
    buffer_too_small = V_ERROR_BUFFER_TOO_SMALL,
    no_disk_space = V_ERROR_NO_DISK_SPACE,
    codec_missing = V_ERROR_CODEC_MISSING,
    invalid_struct_size = V_ERROR_INVALID_STRUCT_SIZE,
    null_pointer = V_ERROR_NULL_PTR,
    invalid_lut_length = V_ERROR_INVALID_LUT_LENGTH,
    invalid_redirect_handle = V_ERROR_INVALID_REDIRECTHANDLE
};

/// Whether a code is Code::success.
[[nodiscard]] constexpr bool succeeded(Code code) noexcept
{
    return code == Code::success;
}

/// The English text of a code (V_GetFriendlyErrorMessageA).
[[nodiscard]] inline std::string text(Code code)
{
    char buffer[160] = "";
    static_cast<void>(V_GetFriendlyErrorMessageA(static_cast<int>(code), buffer, sizeof buffer));
    return buffer;
}

#if VKKRNX_EXCEPTIONS
/// A failure of the library: its code, and the code's text.
class Error : public std::runtime_error {
public:
    /// With the text of the code.
    explicit Error(Code code) : std::runtime_error(text(code)), code_(code) {}
    /// The result code.
    [[nodiscard]] Code code() const noexcept { return code_; }

private:
    Code code_;
};
#endif

/// What callbacks of this interface have in common: an exception that is on its way past the library.
class CallbackState {
public:
#if VKKRNX_EXCEPTIONS
    /// Throws on what the callback threw, once.
    void rethrow()
    {
        if (pending_)
            std::rethrow_exception(std::exchange(pending_, nullptr));
    }
#endif

    /// Whether there is something to throw.
    [[nodiscard]] bool threw() const noexcept
    {
#if VKKRNX_EXCEPTIONS
        return pending_ != nullptr;
#else
        return false;
#endif
    }

protected:
    CallbackState() noexcept = default;
    ~CallbackState() = default;

    /// The result code of what a callable answers: nothing, whether to go on, or a code.
    template <class Callable, class... Arguments> int run_callable(Callable& callable, Arguments... arguments) noexcept
    {
#if VKKRNX_EXCEPTIONS
        try {
            return answer(callable, arguments...);
        } catch (...) {
            keep(std::current_exception());
            return V_ERROR_USER_ABORT;
        }
#else
        return answer(callable, arguments...);
#endif
    }

private:
    template <class Callable, class... Arguments> static int answer(Callable& callable, Arguments... arguments)
    {
        using Answer = std::invoke_result_t<Callable&, Arguments...>;
        if constexpr (std::is_void_v<Answer>) {
            callable(arguments...);
            return V_SUCCESS;
        } else if constexpr (std::is_same_v<Answer, bool>) {
            return callable(arguments...) ? V_SUCCESS : V_ERROR_USER_ABORT;
        } else {
            return static_cast<int>(callable(arguments...));
        }
    }
#if VKKRNX_EXCEPTIONS
    void keep(std::exception_ptr thrown) noexcept
    {
        if (!pending_)
            pending_ = std::move(thrown);
    }

    std::exception_ptr pending_;
#endif
};

/// A thread's status callback that is a callable; vk::StatusCallback makes them.
class StatusCallbackBase : public CallbackState {
public:
    StatusCallbackBase(const StatusCallbackBase&) = delete;
    StatusCallbackBase& operator=(const StatusCallbackBase&) = delete;

    /// The one function that the library calls.
    static int call(int percent, void* self) noexcept
    {
        auto* const base = static_cast<StatusCallbackBase*>(self);
        return base->invoke_(*base, percent);
    }

protected:
    using Invoke = int (*)(StatusCallbackBase&, int) noexcept; ///< what calls the callable
    /// By the function that knows the callable.
    explicit StatusCallbackBase(Invoke invoke) noexcept : invoke_(invoke) {}
    ~StatusCallbackBase() = default;

private:
    Invoke invoke_;
};

/// How a function tells its result. Made by itself, failures are thrown; made from a code, everything is written to it.
class Report {
public:
    /// Throws vk::Error, or what a status callback threw. Without exceptions std::abort is called.
    constexpr Report() noexcept = default;
    /// Writes the result code, Code::success included.
    constexpr Report(Code& code) noexcept : code_(&code) {} // NOLINT(google-explicit-constructor)

    /// Tells a result code. @return whether it is a success.
    bool operator()(int result) const
    {
        if (code_)
            *code_ = static_cast<Code>(result);
        else if (result != V_SUCCESS) [[unlikely]]
            fail(result);
        return result == V_SUCCESS;
    }
    /// The same for a code.
    bool operator()(Code code) const { return operator()(static_cast<int>(code)); }
    /// Tells a result that is a number of something, or a negative code. @return the number, 0 instead of a code.
    std::size_t count(std::intptr_t result) const
    {
        operator()(result >= 0 ? V_SUCCESS : static_cast<int>(result));
        return result >= 0 ? static_cast<std::size_t>(result) : 0;
    }
    /// Tells the answer to a question: 0, 1 or a negative code. @return whether it is 1.
    bool answer(int result) const
    {
        operator()(result >= 0 ? V_SUCCESS : result);
        return result > 0;
    }

    /// Whether failures are thrown.
    [[nodiscard]] constexpr bool throws() const noexcept { return code_ == nullptr; }

private:
    [[noreturn]] VKKRNX_COLD static void fail(int result)
    {
#if VKKRNX_EXCEPTIONS
        V_STATUSCALLBACK callback = nullptr;
        void* data = nullptr;
        V_GetStatusCallback(&callback, &data);
        if (callback == &StatusCallbackBase::call)
            static_cast<StatusCallbackBase*>(data)->rethrow();
        throw Error(static_cast<Code>(result));
#else
        static_cast<void>(result);
        std::abort();
#endif
    }

    Code* code_ = nullptr;
};

/// Specialised as true for enumerations whose values combine.
template <class Enum> inline constexpr bool is_flags = false;

/// An enumeration whose values combine.
template <class Enum>
concept Flags = is_flags<Enum>;

/// The number that an enumerator stands for in the C interface.
template <class Enum>
requires std::is_enum_v<Enum>
[[nodiscard]] constexpr std::underlying_type_t<Enum> value_of(Enum value) noexcept
{
    return static_cast<std::underlying_type_t<Enum>>(value);
}

/// Both flags.
template <Flags Enum> [[nodiscard]] constexpr Enum operator|(Enum a, Enum b) noexcept
{
    return static_cast<Enum>(value_of(a) | value_of(b));
}
/// The flags that are in both.
template <Flags Enum> [[nodiscard]] constexpr Enum operator&(Enum a, Enum b) noexcept
{
    return static_cast<Enum>(value_of(a) & value_of(b));
}
/// All flags but these.
template <Flags Enum> [[nodiscard]] constexpr Enum operator~(Enum a) noexcept
{
    return static_cast<Enum>(~value_of(a));
}
/// Adds flags.
template <Flags Enum> constexpr Enum& operator|=(Enum& a, Enum b) noexcept
{
    return a = a | b;
}
/// Keeps flags that are in both.
template <Flags Enum> constexpr Enum& operator&=(Enum& a, Enum b) noexcept
{
    return a = a & b;
}
/// Whether all of some flags are set.
template <Flags Enum> [[nodiscard]] constexpr bool has(Enum value, Enum flags) noexcept
{
    return (value & flags) == flags;
}

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_CORE_HPP
