#include "platform/host.hpp"

#include <unistd.h>

#include <filesystem>

#include "platform/files.hpp"

namespace korvane {

namespace fs = std::filesystem;

bool make_folder(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    return fs::is_directory(path, error);
}

bool write_whole_file(const std::string& path, std::string_view bytes) {
    const std::string aside = path + ".tmp";
    bool good;
    {
        OutputFile file(aside, OutputFile::Mode::create);
        file.write(bytes);
        good = file.commit() && file.good();
    }
    std::error_code error;
    if (good) fs::rename(aside, path, error);
    if (good && !error) return true;
    fs::remove(aside, error);
    return false;
}

bool output_is_terminal() { return isatty(STDOUT_FILENO) != 0; }
bool errors_are_terminal() { return isatty(STDERR_FILENO) != 0; }

}  // namespace korvane
