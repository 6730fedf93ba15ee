/**
 * @file Platform.cpp
 * The program's only code that asks which system it runs on.
 */
#include "tools/Platform.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
// After windows.h, which it builds on.
#include <shellapi.h>
#else
#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vk::tool {

namespace {

/** The signal, or 1 where there are none. */
std::atomic<int> g_interrupt{0};
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers may set it");

#if defined(_WIN32)
/** Milliseconds for taking away what is half-written. */
constexpr DWORD kGrace = 4000;

BOOL WINAPI on_console_event(DWORD event)
{
    if (g_interrupt.exchange(1) != 0) {
        return FALSE;
    }
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        Sleep(kGrace); // the program is ended when this returns
    }
    return TRUE;
}

std::string utf8(const wchar_t* text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size < 1) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "command line");
    }
    std::string result(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}
#else
extern "C" void on_interrupt(int signal)
{
    g_interrupt = signal;
}
#endif

} // namespace

std::vector<std::string> start_program(int argc, char** argv)
{
#if defined(_WIN32)
    // Line ends stay as they come and as they are written, and text is UTF-8 on consoles, too.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    static_cast<void>(argc);
    static_cast<void>(argv);
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "command line");
    }
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(utf8(wide[i]));
    }
    LocalFree(wide);
    return arguments;
#else
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
#endif
}

std::filesystem::path path_of(const std::string& name)
{
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

File open_for_reading(const std::string& name)
{
#if defined(_WIN32)
    return File(_wfopen(path_of(name).c_str(), L"rb"));
#else
    return File(std::fopen(name.c_str(), "rbe"));
#endif
}

File create_new(const std::filesystem::path& path, const std::filesystem::path& target)
{
#if defined(_WIN32)
    static_cast<void>(target); // the folder's rights hold for both
    const int fd = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_RDWR | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    return fd < 0 ? nullptr : File(_fdopen(fd, "w+b"));
#else
    constexpr mode_t kEverybody = 0666;
    constexpr mode_t kRights = 0777;
    struct stat old = {};
    const bool replaces = stat(target.c_str(), &old) == 0;
    const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, replaces ? S_IRUSR | S_IWUSR : kEverybody);
    if (fd >= 0 && replaces) {
        // Only the owner's rights can be trusted when the file goes to another owner.
        const bool same =
            (old.st_uid == geteuid() && old.st_gid == getegid()) || fchown(fd, old.st_uid, old.st_gid) == 0;
        static_cast<void>(fchmod(fd, old.st_mode & (same ? kRights : S_IRWXU)));
    }
    return fd < 0 ? nullptr : File(fdopen(fd, "w+b"));
#endif
}

File temporary_file()
{
#if defined(_WIN32)
    wchar_t folder[MAX_PATH + 1] = L"";
    wchar_t name[MAX_PATH + 1] = L"";
    if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"vk", 0, name) == 0) {
        errno = EACCES;
        return nullptr;
    }
    const int fd = _wopen(name, _O_RDWR | _O_BINARY | _O_NOINHERIT | _O_TEMPORARY | _O_SHORT_LIVED);
    return fd < 0 ? nullptr : File(_fdopen(fd, "w+b"));
#else
    std::error_code error;
    std::string name = (std::filesystem::temp_directory_path(error) / "vk-XXXXXX").string();
    const int fd = error ? -1 : mkostemp(name.data(), O_CLOEXEC);
    if (fd >= 0) {
        unlink(name.c_str());
    }
    return fd < 0 ? nullptr : File(fdopen(fd, "w+b"));
#endif
}

int64_t seek_file(std::FILE* file, int64_t offset, int whence)
{
#if defined(_WIN32)
    return _fseeki64(file, offset, whence) == 0 ? _ftelli64(file) : -1;
#else
    return fseeko(file, offset, whence) == 0 ? ftello(file) : -1;
#endif
}

std::string error_text(int error)
{
    return std::generic_category().message(error);
}

bool stderr_is_terminal()
{
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) == 1;
#endif
}

void note_interrupts()
{
#if defined(_WIN32)
    SetConsoleCtrlHandler(&on_console_event, TRUE);
#else
    struct sigaction action = {};
    action.sa_handler = &on_interrupt;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        // What is ignored, as by nohup, stays ignored.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
    action.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &action, nullptr);
#endif
}

bool interrupted()
{
    return g_interrupt != 0;
}

void pass_interrupt_on()
{
#if !defined(_WIN32)
    std::signal(g_interrupt, SIG_DFL);
    std::raise(g_interrupt);
#endif
}

} // namespace vk::tool
