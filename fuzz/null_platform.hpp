// A platform that takes what it is given and hands out nothing.
#pragma once
#include <optional>
#include <string>

#include "platform/platform.hpp"

namespace korvane::fuzz {

class NullPlatform : public Platform {
public:
    InputKind standard_input() const override { return InputKind::redirected; }
    std::optional<std::string> read_console() override { return std::nullopt; }
    void write_console(std::string_view) override {}
    bool flush_console() override { return true; }
    std::optional<std::string> environment(const std::string&) const override { return std::nullopt; }
    std::string working_directory() const override { return "/"; }
    std::string program_directory() const override { return KORVANE_BIN; }
    Moment now() const override { return {2000, 1, 1, 0, 0, 0}; }
    double elapsed_seconds() const override { return 0; }
    double random() override { return 0.5; }
    int shell(const std::string&) override { return -1; }
    bool message_box(std::string_view) override { return false; }
};

}  // namespace korvane::fuzz
