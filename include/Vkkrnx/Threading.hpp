/**
 * @file Threading.hpp
 * Events, locks, batches of work, the thread pool and modules, over the plain functions of Vkthreadtools.h and
 * Vkmodule.h. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_THREADING_HPP
#define VKKRNX_THREADING_HPP

#include "Constants.hpp"

#include <atomic>
#include <chrono>
#include <memory>
#include <new>

namespace vk {
inline namespace VKKRNX_ABI {

/// An event that threads wait for. It moves; `share` makes a second object for the same event.
class WaitEvent {
public:
    /// When waiting ends by itself: the signal stays until it is taken back, or releases one waiter.
    enum class Reset : int { automatic = 0, manual = 1 };

    /// A new event.
    explicit WaitEvent(Reset reset = Reset::automatic, bool signalled = false, Report report = {})
    {
        report(V_CreateWaitEvent(&event_, value_of(reset), signalled ? 1 : 0));
    }
    /// Takes the other's event over, which may only be assigned to then.
    WaitEvent(WaitEvent&& other) noexcept : event_(std::exchange(other.event_, nullptr)) {}
    /// Lets go of its event and takes the other's over.
    WaitEvent& operator=(WaitEvent&& other) noexcept
    {
        WaitEvent taken(std::move(other));
        std::swap(event_, taken.event_);
        return *this;
    }
    ~WaitEvent()
    {
        if (event_)
            V_DestroyWaitEvent(event_);
    }
    /// The handle.
    [[nodiscard]] HWAITEVENT get() const noexcept { return event_; }
    /// A second object for the same event.
    [[nodiscard]] WaitEvent share(Report report = {}) const
    {
        HWAITEVENT copy = nullptr;
        report(V_CopyWaitEvent(&copy, event_));
        return WaitEvent(copy);
    }
    /// Signals the event.
    void set(Report report = {}) { report(V_SetWaitEvent(event_)); }
    /// Takes the signal back.
    void reset(Report report = {}) { report(V_ResetWaitEvent(event_)); }
    /// Waits until the event is signalled.
    void wait(Report report = {}) { report(V_WaitForEvent(event_, VKTIMEOUT_INFINITE)); }
    /// Waits so long at most. @return whether it is signalled.
    [[nodiscard]] bool wait_for(std::chrono::milliseconds time, Report report = {})
    {
        const auto count = time.count();
        const std::uint32_t milliseconds = count <= 0                    ? 0
                                           : count >= VKTIMEOUT_INFINITE ? VKTIMEOUT_INFINITE - 1
                                                                         : static_cast<std::uint32_t>(count);
        const int result = V_WaitForEvent(event_, milliseconds);
        report(result == VKRESULT_TIMEOUT ? V_SUCCESS : result);
        return result == V_SUCCESS;
    }

private:
    explicit WaitEvent(HWAITEVENT event) noexcept : event_(event) {}

    HWAITEVENT event_ = nullptr;
};

/// A lock for many readers or one writer, to be held by std::unique_lock and std::shared_lock. A thread that holds it
/// must not take it again.
class ReaderWriterLock {
public:
    /// A new lock, free.
    explicit ReaderWriterLock(Report report = {}) { report(V_CreateReaderWriterLock(&lock_)); }
    ReaderWriterLock(const ReaderWriterLock&) = delete;
    ReaderWriterLock& operator=(const ReaderWriterLock&) = delete;
    ~ReaderWriterLock()
    {
        if (lock_)
            V_DestroyReaderWriterLock(lock_);
    }
    /// The handle.
    [[nodiscard]] HREADERWRITERLOCK get() const noexcept { return lock_; }
    /// Takes it for writing.
    void lock() noexcept { V_AcquireWriterLock(lock_); }
    /// Releases what `lock` took.
    void unlock() noexcept { V_ReleaseWriterLock(lock_); }
    /// Takes it for reading.
    void lock_shared() noexcept { V_AcquireReaderLock(lock_); }
    /// Releases what `lock_shared` took.
    void unlock_shared() noexcept { V_ReleaseReaderLock(lock_); }

private:
    HREADERWRITERLOCK lock_ = nullptr;
};

/// A batch of work items on the thread pool, with a status and a cancel flag that they share. It is meant for exactly
/// as many items as it was made for. Its end cancels items that have not begun, and waits for those that run.
class WorkItems {
public:
    /// A batch of so many items, at least 1.
    explicit WorkItems(std::uint32_t count, BatchOption options = {}, PoolFlag flags = {}, Report report = {})
        : missing_(count)
    {
        report(count == 0 ? V_ERROR_INVALID_PARAMETER
                          : V_CreateWorkItems(&items_, count, value_of(options), value_of(flags)));
    }
    WorkItems(const WorkItems&) = delete;
    WorkItems& operator=(const WorkItems&) = delete;
    ~WorkItems()
    {
        if (!items_)
            return;
        if (!waited_.load()) {
            cancel_all();
            V_WaitForWorkItems(items_);
        }
        V_DestroyWorkItems(items_);
        for (Item* item = queued_.load(); item;)
            delete std::exchange(item, item->next);
    }
    /// The handle.
    [[nodiscard]] HWORKITEMS get() const noexcept { return items_; }

    /// Hands a callable to the pool, or runs it at once where the batch is not threaded. It answers nothing, whether
    /// the batch is to go on, or a code; Code::time_out cancels a threaded batch. What it throws cancels the batch, and
    /// `wait` throws it on. More items than the batch is for are Code::invalid_parameter. The callable lives as long as
    /// the batch. In a cancelled batch it is dropped.
    template <std::invocable Callable> void queue(Callable callable, Report report = {})
    {
        if (!items_ || !take_place()) {
            report(cancelled() ? V_SUCCESS : V_ERROR_INVALID_PARAMETER);
            return;
        }
        auto* const item = new (std::nothrow) ItemOf<Callable>(*this, std::move(callable));
        if (item) {
            item->next = queued_.load(std::memory_order_relaxed);
            while (!queued_.compare_exchange_weak(item->next, item)) {
            }
        }
        const int result = item ? V_QueueWorkItem(items_, &Item::run, item) : V_ERROR_NO_MEMORY;
        if (result != V_SUCCESS)
            give_place_back();
        report(result);
    }
    /// Waits until as many items as the batch is for have run or been skipped; items that are not queued yet must be by
    /// others, unless the batch is cancelled, by then or later. On a thread of the pool it runs items of the batch
    /// meanwhile. Throws what an item threw; with a code that is Code::user_abort, and `rethrow` throws it. To be
    /// called once.
    void wait(Report report = {})
    {
        if (items_ && !waited_.load()) {
            V_WaitForWorkItems(items_);
            waited_.store(true);
        }
        if (first_that_threw()) {
            if (report.throws())
                rethrow();
            report(V_ERROR_USER_ABORT);
        } else {
            report(items_ ? V_SUCCESS : V_ERROR_INVALID_PARAMETER);
        }
    }
#if VKKRNX_EXCEPTIONS
    /// Throws what an item threw, if one did, after `wait`.
    void rethrow()
    {
        if (Item* const item = first_that_threw())
            item->rethrow();
    }
#else
    /// Does nothing without exceptions.
    void rethrow() noexcept {}
#endif
    /// Cancels the batch: items that have not begun will not run.
    void cancel(Report report = {})
    {
        report(V_CancelWorkItems(items_));
    }
    /// Whether it is cancelled.
    [[nodiscard]] bool cancelled() const noexcept
    {
        return V_WorkItemsAreCanceled(items_) == 1;
    }
    /// Whether items go to the pool.
    [[nodiscard]] bool threaded() const noexcept
    {
        return V_WorkItemsAreThreaded(items_) == 1;
    }
    /// The status: the last result of an item with BatchOption::store_result, or where the batch is not threaded.
    [[nodiscard]] Code status() const noexcept
    {
        int status = V_FAILURE;
        V_GetWorkItemsStatus(items_, &status);
        return static_cast<Code>(status);
    }
    /// Sets the status.
    void set_status(Code status, Report report = {})
    {
        report(V_SetWorkItemsStatus(items_, value_of(status)));
    }

private:
    struct Item : CallbackState {
        explicit Item(WorkItems& batch) noexcept : owner(batch) {}
        Item(const Item&) = delete;
        Item& operator=(const Item&) = delete;
        virtual ~Item() = default;
        virtual int call() noexcept = 0;
        static int run(HWORKITEMS, void* self) noexcept
        {
            auto& item = *static_cast<Item*>(self);
            const int result = item.call();
            if (result == V_ERROR_USER_ABORT || (result == VKRESULT_TIMEOUT && item.owner.threaded()))
                item.owner.cancel_all();
            return result;
        }
        WorkItems& owner;
        Item* next = nullptr;
    };
    template <class Callable> struct ItemOf final : Item {
        ItemOf(WorkItems& batch, Callable&& what) : Item(batch), callable(std::move(what)) {}
        int call() noexcept override { return this->run_callable(callable); }
        Callable callable;
    };

    bool take_place() noexcept
    {
        std::uint32_t left = missing_.load();
        while (left != 0 && !missing_.compare_exchange_weak(left, left - 1)) {
        }
        return left != 0;
    }
    void give_place_back() noexcept
    {
        missing_.fetch_add(1);
        if (cancelled())
            cancel_all();
    }
    /// Items that were not queued count as skipped, so that nobody waits for them.
    void cancel_all() noexcept
    {
        V_CancelWorkItems(items_);
        while (take_place())
            V_QueueWorkItem(items_, &Item::run, nullptr);
    }
    Item* first_that_threw() const noexcept
    {
        Item* item = queued_.load();
        while (item && !item->threw())
            item = item->next;
        return item;
    }

    HWORKITEMS items_ = nullptr;
    std::atomic<Item*> queued_{nullptr};
    std::atomic<std::uint32_t> missing_;
    std::atomic<bool> waited_{false};
};

/// The thread pool.
class ThreadPool {
public:
    /// The number of processors.
    [[nodiscard]] static std::uint32_t processors() noexcept { return V_GetCoreCount(); }
    /// Runs a callable on another thread. What it throws ends the program. What is dropped when the library is shut
    /// down is never destroyed.
    template <std::invocable Callable> static void queue(Callable callable, PoolFlag flags = {}, Report report = {})
    {
        std::unique_ptr<Callable> held(new (std::nothrow) Callable(std::move(callable)));
        const int result = held ? V_QueueUserWorkItem(&run<Callable>, held.get(), value_of(flags)) : V_ERROR_NO_MEMORY;
        if (result == V_SUCCESS)
            static_cast<void>(held.release());
        report(result);
    }

private:
    template <class Callable>
    static V_THREADRESULT
#if defined(_WIN32)
        WINAPI
#endif
        run(void* callable) noexcept
    {
        const std::unique_ptr<Callable> held(static_cast<Callable*>(callable));
        (*held)();
        return 0;
    }
};

/// A module: a shared library with functions to call by name. It moves; `share` makes a second object for it.
class Library {
public:
    /// Without a module.
    Library() noexcept = default;
    /// Loads a module (V_LoadDll).
    explicit Library(const wchar_t* name, LoadFrom from = LoadFrom::beside, Report report = {})
    {
        report(V_LoadDll(&library_, name, value_of(from)));
    }
    /// Loads a module whose name is UTF-8.
    explicit Library(const char* name, LoadFrom from = LoadFrom::beside, Report report = {})
    {
        report(V_LoadDllA(&library_, name, value_of(from)));
    }
    /// Takes the other's module over.
    Library(Library&& other) noexcept : library_(std::exchange(other.library_, nullptr)) {}
    /// Lets go of its module and takes the other's over.
    Library& operator=(Library&& other) noexcept
    {
        Library taken(std::move(other));
        std::swap(library_, taken.library_);
        return *this;
    }
    ~Library()
    {
        if (library_)
            V_UnloadDll(library_);
    }
    /// The handle.
    [[nodiscard]] HDLLLOADER get() const noexcept { return library_; }
    /// Whether there is a module.
    [[nodiscard]] explicit operator bool() const noexcept { return library_ != nullptr; }
    /// A second object for the module.
    [[nodiscard]] Library share(Report report = {}) const
    {
        Library copy;
        report(V_CopyDll(&copy.library_, library_));
        return copy;
    }
    /// A function of the module: `library.function<double(double)>("cos")`; null where there is none of that name. Good
    /// until the module goes.
    template <class Signature>
    requires std::is_function_v<Signature>
    [[nodiscard]] Signature* function(const char* name) const noexcept
    {
        return reinterpret_cast<Signature*>(V_GetDllFunction(library_, name));
    }
    /// An object of the module, or null.
    [[nodiscard]] void* object(const char* name) const noexcept { return V_GetDllFunction(library_, name); }

private:
    HDLLLOADER library_ = nullptr;
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_THREADING_HPP
