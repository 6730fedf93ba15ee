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
#include <unistd.h>
#endif

namespace vk::tool {

namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers may set it");

#if defined(_WIN32)
BOOL WINAPI on_console_event(DWORD)
{
    return g_interrupted.exchange(true) ? FALSE : TRUE;
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
extern "C" void on_interrupt(int)
{
    g_interrupted = true;
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

File create_new(const std::filesystem::path& path)
{
#if defined(_WIN32)
    const int fd =
        _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    return fd < 0 ? nullptr : File(_fdopen(fd, "wb"));
#else
    const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    return fd < 0 ? nullptr : File(fdopen(fd, "wb"));
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
    sigaction(SIGINT, &action, nullptr);
#endif
}

bool interrupted()
{
    return g_interrupted;
}

} // namespace vk::tool
