// Runs a fuzz target over stored inputs, as a test: every file of the directories named on the command line after the
// target, and every prefix of each small one, since a reader that runs off a cut input is the commonest fault. Fails
// when a directory is missing or holds no input. VK_REPLAY_TARGETS lists the targets that are linked as
// TARGET(name)...; each is compiled under a name of its own.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#define TARGET(name) extern "C" int vk_replay_##name(const uint8_t* data, size_t size);
VK_REPLAY_TARGETS
#undef TARGET

namespace {

using Target = int (*)(const uint8_t* data, size_t size);

struct Named {
    std::string_view name;
    Target run;
};
constexpr Named kTargets[] = {
#define TARGET(name) {#name, vk_replay_##name},
    VK_REPLAY_TARGETS
#undef TARGET
};

constexpr size_t kCutUpTo = 512;

// A heap block of exactly the input's size, so that sanitizers see the first byte read beyond it.
void run(Target target, const std::vector<char>& input, size_t size)
{
    const std::vector<uint8_t> exact(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(size));
    target(exact.data(), exact.size());
}

bool replay(Target target, const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> input{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in.is_open() || in.bad()) {
        std::fprintf(stderr, "cannot read %s\n", file.string().c_str());
        return false;
    }
    run(target, input, input.size());
    for (size_t size = 0; input.size() <= kCutUpTo && size < input.size(); ++size) {
        run(target, input, size);
    }
    return true;
}

} // namespace

int main(int count, char** arguments)
{
    const auto target = std::find_if(std::begin(kTargets), std::end(kTargets),
                                     [&](const Named& each) { return count > 1 && each.name == arguments[1]; });
    if (target == std::end(kTargets)) {
        std::fprintf(stderr, "no such target\n");
        return 1;
    }
    size_t inputs = 0;
    for (int i = 2; i < count; ++i) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i], error)) {
            if (entry.is_regular_file(error)) {
                if (!replay(target->run, entry.path())) {
                    return 1;
                }
                ++inputs;
            }
        }
        if (error) {
            std::fprintf(stderr, "%s: %s\n", arguments[i], error.message().c_str());
            return 1;
        }
    }
    std::printf("replayed %zu inputs\n", inputs);
    return inputs == 0 ? 1 : 0;
}
