/**
 * @file Report.cpp
 * The two forms of Report.h.
 */
#include "tools/Report.h"

namespace vk::tool {

namespace {

constexpr int kLabelWidth = 18;

std::string json_string(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            result += escape;
        } else {
            result += c;
        }
    }
    return result + '"';
}

} // namespace

void Report::text(const char* key, const char* label, const std::string& value)
{
    lines_.push_back({key, label, json_string(value), value});
}

void Report::number(const char* key, const char* label, int64_t value, const char* unit)
{
    const std::string digits = std::to_string(value);
    lines_.push_back({key, label, digits, digits + unit});
}

void Report::measure(const char* key, const char* label, double value, const char* unit)
{
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.3f", value);
    lines_.push_back({key, label, digits, std::string(digits) + unit});
}

void Report::truth(const char* key, const char* label, bool value)
{
    lines_.push_back({key, label, value ? "true" : "false", value ? "yes" : "no"});
}

std::string Report::in_one_line(bool json) const
{
    std::string text;
    for (const Line& line : lines_) {
        text += text.empty() ? "" : ", ";
        text += json ? std::string("\"") + line.key + "\": " + line.json : std::string(line.label) + " " + line.text;
    }
    return json ? "{" + text + "}" : text;
}

void Report::list(const char* key, const char* label, const std::vector<Report>& reports)
{
    std::string json;
    std::string text;
    for (const Report& report : reports) {
        json += (json.empty() ? "\n    " : ",\n    ") + report.in_one_line(true);
        text += (text.empty() ? "" : "\n" + std::string(kLabelWidth + 1, ' ')) + report.in_one_line(false);
    }
    lines_.push_back({key, label, "[" + json + "\n  ]", text});
}

void Report::print(bool json, std::FILE* to) const
{
    const char* separator = "{\n";
    for (const Line& line : lines_) {
        if (json) {
            std::fprintf(to, "%s  \"%s\": %s", separator, line.key, line.json.c_str());
            separator = ",\n";
        } else {
            std::fprintf(to, "%-*s %s\n", kLabelWidth, line.label, line.text.c_str());
        }
    }
    if (json) {
        std::fprintf(to, "\n}\n");
    }
}

} // namespace vk::tool
