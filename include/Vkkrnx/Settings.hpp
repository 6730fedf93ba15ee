/**
 * @file Settings.hpp
 * The calling thread's settings, put back when they go: progress, memory, dithering, workers. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_SETTINGS_HPP
#define VKKRNX_SETTINGS_HPP

#include "Constants.hpp"

namespace vk {
inline namespace VKKRNX_ABI {

/// A callable that the calling thread's operations tell their progress, in percent, as long as this lives:
/// `vk::StatusCallback progress([&](int percent) { return !cancelled; });`. It answers nothing, whether to go on, or a
/// code, which becomes the operation's result if it is not Code::success. What it throws stops the operation, which
/// throws it on; where the operation writes a code, `rethrow` throws it. Objects end in reverse order.
template <std::invocable<int> Callable> class StatusCallback : public StatusCallbackBase {
public:
    /// Puts the callable in place of the callback there is.
    explicit StatusCallback(Callable callable) : StatusCallbackBase(&invoke), callable_(std::move(callable))
    {
        V_SetStatusCallback(&StatusCallbackBase::call, static_cast<StatusCallbackBase*>(this), &before_, &data_before_);
    }
    /// Puts back what was there before.
    ~StatusCallback() { V_SetStatusCallback(before_, data_before_, nullptr, nullptr); }

private:
    static int invoke(StatusCallbackBase& base, int percent) noexcept
    {
        auto& self = static_cast<StatusCallback&>(base);
        return self.run_callable(self.callable_, percent);
    }

    Callable callable_;
    V_STATUSCALLBACK before_ = nullptr;
    void* data_before_ = nullptr;
};

/// Of any callable.
template <class Callable> StatusCallback(Callable) -> StatusCallback<Callable>;

/// Sets settings of the calling thread and puts those it has set back in the end.
class ThreadSettings {
public:
    /// Sets nothing yet.
    ThreadSettings() noexcept = default;
    ThreadSettings(const ThreadSettings&) = delete;
    ThreadSettings& operator=(const ThreadSettings&) = delete;
    ~ThreadSettings()
    {
        if (has_memory_)
            V_SetDefaultMemoryType(memory_);
        if (has_dithering_)
            V_DefaultDithering(dithering_);
        if (has_workers_)
            V_SetWorkers(workers_);
        if (has_thresholds_)
            V_SetMemoryThresholds(reserved_, most_conventional_, tile_size_, tiles_, buffers_, all_thresholds);
    }

    /// Where new bitmaps go: Memory::conventional or Memory::disk (V_SetDefaultMemoryType).
    ThreadSettings& memory(Memory type, Report report = {})
    {
        if (!std::exchange(has_memory_, true))
            V_GetDefaultMemoryType(&memory_);
        report(V_SetDefaultMemoryType(value_of(type)));
        return *this;
    }
    /// The dithering method of new bitmaps (V_DefaultDithering).
    ThreadSettings& dithering(Dither method, Report report = {})
    {
        if (!std::exchange(has_dithering_, true))
            dithering_ = V_GetDefaultDithering();
        report(V_DefaultDithering(value_of(method)));
        return *this;
    }
    /// The threads that one operation may use, 0 for one a processor (V_SetWorkers).
    ThreadSettings& workers(std::int32_t count, Report report = {})
    {
        if (!std::exchange(has_workers_, true))
            workers_ = V_GetWorkers();
        report(V_SetWorkers(count));
        return *this;
    }
    /// The largest block of conventional memory, as V_SetMemoryThresholds takes it.
    ThreadSettings& most_conventional(std::int64_t bytes, Report report = {})
    {
        return thresholds(0, bytes, 0, THRESHOLD_MAXCONVSIZE, report);
    }
    /// The memory to leave free, as V_SetMemoryThresholds takes it.
    ThreadSettings& reserved_memory(std::int32_t bytes, Report report = {})
    {
        return thresholds(bytes, 0, 0, THRESHOLD_RESERVEDMEMORY, report);
    }
    /// Bytes per tile; 0 means 16 MiB.
    ThreadSettings& tile_size(std::int64_t bytes, Report report = {})
    {
        return thresholds(0, 0, bytes, THRESHOLD_TILESIZE, report);
    }

private:
    static constexpr std::uint32_t all_thresholds = THRESHOLD_RESERVEDMEMORY | THRESHOLD_MAXCONVSIZE |
                                                    THRESHOLD_TILESIZE | THRESHOLD_CONVTILES | THRESHOLD_CONVBUFFERS;

    ThreadSettings& thresholds(std::int32_t reserved, std::int64_t most, std::int64_t tile, std::uint32_t which,
                               Report report)
    {
        if (!std::exchange(has_thresholds_, true))
            V_GetMemoryThresholds(&reserved_, &most_conventional_, &tile_size_, &tiles_, &buffers_);
        report(V_SetMemoryThresholds(reserved, most, tile, 0, 0, which));
        return *this;
    }

    std::int64_t most_conventional_ = 0;
    std::int64_t tile_size_ = 0;
    std::uint32_t memory_ = 0;
    std::int32_t dithering_ = 0;
    std::int32_t workers_ = 0;
    std::int32_t reserved_ = 0;
    std::int32_t tiles_ = 0;
    std::int32_t buffers_ = 0;
    bool has_memory_ = false;
    bool has_dithering_ = false;
    bool has_workers_ = false;
    bool has_thresholds_ = false;
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_SETTINGS_HPP
