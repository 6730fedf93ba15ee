/**
 * @file Report.h
 * The figures a command prints: a list of names and values, shown as lines of text or as one JSON object.
 */
#ifndef VK_TOOLS_REPORT_H
#define VK_TOOLS_REPORT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vk::tool {

class Report {
public:
    /** `key` is the name in JSON, `label` the one people read, `unit` follows the value there. */
    void text(const char* key, const char* label, const std::string& value);
    void number(const char* key, const char* label, int64_t value, const char* unit = "");
    void measure(const char* key, const char* label, double value, const char* unit = "");
    void truth(const char* key, const char* label, bool value);
    /** Reports under one name, each of which people read on a line of its own. */
    void list(const char* key, const char* label, const std::vector<Report>& reports);

    void print(bool json, std::FILE* to = stdout) const;

private:
    std::string in_one_line(bool json) const;

    struct Line {
        const char* key;
        const char* label;
        std::string json;
        std::string text;
    };
    std::vector<Line> lines_;
};

} // namespace vk::tool

#endif
