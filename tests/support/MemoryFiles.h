// A file system in memory that is supplied through a table of file operations, and whose operations can go wrong: the
// n-th call fails, moves less than it was asked to, or returns nonsense.
#pragma once

#include "Vkkrnx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vk::testing {

/// What an operation does at the call that goes wrong. All but `moves_half` do nothing else.
enum class Wrong { fails, moves_half, moves_nothing, says_too_much, says_minus_five, is_elsewhere };
constexpr Wrong kWrongs[] = {Wrong::fails,         Wrong::moves_half,      Wrong::moves_nothing,
                             Wrong::says_too_much, Wrong::says_minus_five, Wrong::is_elsewhere};

class MemoryFiles {
public:
    using Bytes = std::vector<uint8_t>;

    /// The operations, for V_SetRedirectFunctions and V_RegisterRedirectName.
    REDIRECTFUNCTIONS table()
    {
        REDIRECTFUNCTIONS table = {};
        table.StructSize = sizeof table;
        table.Open = open;
        table.Read = read;
        table.Write = write;
        table.Seek = seek;
        table.Close = close;
        table.OpenUserData = table.ReadUserData = table.WriteUserData = table.SeekUserData = table.CloseUserData = this;
        return table;
    }
    void redirect() { V_RedirectIO(open, read, write, seek, close, this); }

    /// The n-th call from now goes wrong, with `persistent` all behind it too. 0: none.
    void arm(Wrong wrong, uint64_t n, bool persistent)
    {
        wrong_ = wrong;
        at_ = n;
        persistent_ = persistent;
        calls = 0;
        fired = false;
    }

    std::map<std::wstring, std::shared_ptr<Bytes>> files;
    size_t open_files() const { return open_.size(); }
    int64_t next_handle = 0; ///< of the next file that is opened; any but -1 is good
    uint64_t calls = 0;
    bool fired = false;
    bool keeps_temporary = false;      ///< does not know what V_OPENFLAG_TEMPORARY means
    size_t capacity = SIZE_MAX;        ///< bytes that a file may have
    std::function<void()> before_call; ///< runs first in every operation

private:
    struct Open {
        std::wstring name;
        std::shared_ptr<Bytes> bytes;
        int64_t position = 0;
        bool temporary = false;
    };

    static MemoryFiles& self(void* user_data) { return *static_cast<MemoryFiles*>(user_data); }

    bool goes_wrong()
    {
        if (before_call)
            before_call();
        ++calls;
        const bool now = at_ != 0 && (calls == at_ || (persistent_ && calls > at_));
        fired = fired || now;
        return now;
    }

    int64_t wrong_count(size_t bytes) const
    {
        switch (wrong_) {
        case Wrong::moves_nothing:
            return 0;
        case Wrong::says_too_much:
            return bytes % 2 == 0 ? static_cast<int64_t>(bytes) + 1 : INT64_MAX;
        case Wrong::says_minus_five:
            return -5;
        default:
            return -1;
        }
    }

    static int64_t open(const wchar_t* name, int flags, int, void* user_data)
    {
        MemoryFiles& fs = self(user_data);
        if (fs.goes_wrong() && fs.wrong_ != Wrong::moves_half)
            return -1;
        auto found = fs.files.find(name);
        if (found == fs.files.end()) {
            if ((flags & V_OPENFLAG_CREATE) == 0)
                return -1;
            found = fs.files.emplace(name, std::make_shared<Bytes>()).first;
        }
        if ((flags & V_OPENFLAG_TRUNCATE) != 0)
            found->second->clear();
        fs.open_[fs.next_handle] = {name, found->second, 0, (flags & V_OPENFLAG_TEMPORARY) != 0 && !fs.keeps_temporary};
        return fs.next_handle++;
    }

    static int64_t read(int64_t handle, void* buffer, size_t count, void* user_data)
    {
        MemoryFiles& fs = self(user_data);
        const bool wrong = fs.goes_wrong();
        if (wrong && fs.wrong_ != Wrong::moves_half)
            return fs.wrong_count(count);
        Open& file = fs.open_.at(handle);
        const size_t left = file.bytes->size() - std::min(file.bytes->size(), static_cast<size_t>(file.position));
        const size_t moved = std::min(wrong ? (count + 1) / 2 : count, left);
        if (moved != 0)
            std::memcpy(buffer, file.bytes->data() + file.position, moved);
        file.position += static_cast<int64_t>(moved);
        return static_cast<int64_t>(moved);
    }

    static int64_t write(int64_t handle, const void* buffer, size_t count, void* user_data)
    {
        MemoryFiles& fs = self(user_data);
        const bool wrong = fs.goes_wrong();
        if (wrong && fs.wrong_ != Wrong::moves_half)
            return count == 0 ? -1 : fs.wrong_count(count);
        Open& file = fs.open_.at(handle);
        const auto at = static_cast<size_t>(file.position);
        if (count == 0) {
            file.bytes->resize(at);
            return 0;
        }
        const size_t end = std::min(at + (wrong ? (count + 1) / 2 : count), fs.capacity);
        if (end <= at)
            return fs.full_answer;
        file.bytes->resize(std::max(file.bytes->size(), end));
        std::memcpy(file.bytes->data() + at, buffer, end - at);
        file.position = static_cast<int64_t>(end);
        return static_cast<int64_t>(end - at);
    }

    static int64_t seek(int64_t handle, int64_t offset, int origin, void* user_data)
    {
        MemoryFiles& fs = self(user_data);
        Open& file = fs.open_.at(handle);
        const auto size = static_cast<int64_t>(file.bytes->size());
        const int64_t position = offset + (origin == 0 ? 0 : origin == 1 ? file.position : size);
        if (fs.goes_wrong() && fs.wrong_ != Wrong::moves_half)
            return fs.wrong_ == Wrong::is_elsewhere ? position + 1 : fs.wrong_ == Wrong::says_too_much ? INT64_MAX : -1;
        if (position < 0)
            return -1;
        return file.position = position;
    }

    static int close(int64_t handle, void* user_data)
    {
        MemoryFiles& fs = self(user_data);
        const bool wrong = fs.goes_wrong();
        const Open& file = fs.open_.at(handle);
        if (file.temporary)
            fs.files.erase(file.name);
        fs.open_.erase(handle); // a close that fails has closed all the same
        return wrong && fs.wrong_ != Wrong::moves_half ? -1 : 0;
    }

    std::map<int64_t, Open> open_;
    Wrong wrong_ = Wrong::fails;
    uint64_t at_ = 0;
    bool persistent_ = false;

public:
    int64_t full_answer = -1; ///< what writing to a full file returns
};

/// Puts the calling thread back to the library's operations at the end of the scope.
struct RestoreRedirection {
    RestoreRedirection() = default;
    ~RestoreRedirection()
    {
        REDIRECTFUNCTIONS none = {};
        none.StructSize = sizeof none;
        none.Open = reinterpret_cast<V_REDIRECTOPEN>(V_REDIRECT_NONE);
        none.Read = reinterpret_cast<V_REDIRECTREAD>(V_REDIRECT_NONE);
        none.Write = reinterpret_cast<V_REDIRECTWRITE>(V_REDIRECT_NONE);
        none.Seek = reinterpret_cast<V_REDIRECTSEEK>(V_REDIRECT_NONE);
        none.Close = reinterpret_cast<V_REDIRECTCLOSE>(V_REDIRECT_NONE);
        EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&none, REDIRECTTYPE_FILES, 0));
    }
    RestoreRedirection(const RestoreRedirection&) = delete;
    RestoreRedirection& operator=(const RestoreRedirection&) = delete;
};

} // namespace vk::testing
