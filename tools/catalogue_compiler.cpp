// kvncat: compiles the texts of the catalogue, one file a routine, into the two binary files that the program reads.
//
//     kvncat DIR OUT.fmt OUT.msg
//
// docs/catalogue.md describes the texts. Every fault is named with its file and line; any fault ends with status 1 and
// leaves no output.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/catalogue.hpp"
#include "frame/format.hpp"
#include "platform/files.hpp"

using namespace korvane;

namespace {

constexpr int MOST_MESSAGES = 200;
constexpr std::string_view COMMON = "_";  // files of this prefix are no blocks: others take them in with "use"
constexpr std::string_view FIXED_BLOCK = "KORVAN";

struct Place {
    std::string file;
    int line;
};

/// What a text file holds, each row with its place for later faults.
struct Entries {
    std::vector<std::pair<CatalogueRow, Place>> rows, messages;
    std::vector<std::pair<std::string, Place>> uses;
};

class CatalogueCompiler {
public:
    explicit CatalogueCompiler(std::filesystem::path directory) : directory_(std::move(directory)) {}

    /// Reads every text file; false when anything is wrong.
    bool run() {
        std::map<std::string, Entries> files;  // in the order of names, so that the output is
        std::error_code failed;
        for (const auto& file : std::filesystem::directory_iterator(directory_, failed))
            if (file.path().extension() == ".txt") files[file.path().stem().string()] = read(file.path());
        if (failed) fault({directory_.string(), 0}, "cannot be read");
        for (const auto& [name, own] : files)
            if (name.rfind(COMMON, 0) != 0) compile(name, own, files);
        if (formats.size() > std::size_t(Catalogue::MOST_BLOCKS) ||
            messages.size() > std::size_t(Catalogue::MOST_BLOCKS))
            fault({directory_.string(), 0}, "more than " + std::to_string(Catalogue::MOST_BLOCKS) + " blocks");
        return faults_ == 0;
    }

    Catalogue::Source formats, messages;

private:
    void fault(const Place& at, const std::string& what) {
        ++faults_;
        std::fprintf(stderr, "%s:%d: %s\n", at.file.c_str(), at.line, what.c_str());
    }

    Entries read(const std::filesystem::path& path) {
        Entries entries;
        Place at{path.string(), 0};
        const std::optional<std::string> bytes = read_file(path.string());
        if (!bytes) fault(at, "cannot be read");
        std::string_view rest = bytes ? std::string_view(*bytes) : std::string_view();
        if (rest.substr(0, 3) == "\xEF\xBB\xBF") rest.remove_prefix(3);
        while (!rest.empty()) {
            ++at.line;
            std::string_view line = rest.substr(0, rest.find('\n'));
            rest.remove_prefix(std::min(line.size() + 1, rest.size()));
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            read_line(line, at, entries);
        }
        return entries;
    }

    void read_line(std::string_view utf8, const Place& at, Entries& entries) {
        if (utf8.empty() || utf8[0] == '#') return;
        const std::optional<std::string> latin1 = to_latin1(utf8, at);
        if (!latin1) return;
        std::string_view rest = *latin1;
        while (!rest.empty() && rest.back() == ' ') rest.remove_suffix(1);
        if (rest.empty()) return;
        const std::string_view keyword = word(rest);
        if (keyword == "use") {
            entries.uses.emplace_back(COMMON.data() + std::string(word(rest)), at);
            if (!rest.empty()) fault(at, "\"use\" takes one name");
            return;
        }
        if (keyword != "row" && keyword != "message")
            return fault(at, "a line begins with \"row\", \"message\", \"use\" or \"#\"");
        const std::string_view digits = word(rest);
        int number = 0;
        const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (end.ec != std::errc() || end.ptr != digits.data() + digits.size() || number < -32768 || number > 32767)
            return fault(at, "no number behind '" + std::string(keyword) + "'");
        if (keyword == "row") {
            add_row(number, rest, at, entries);
        } else {
            if (rest.empty()) fault(at, "a message without a text");
            add(entries.messages, {number, std::string(rest)}, Catalogue::ROW_LENGTH, at);
        }
    }

    void add_row(int number, std::string_view rest, const Place& at, Entries& entries) {
        constexpr std::string_view PLAIN = "text:";
        if (number < 1 || number > Formats::ROWS)
            fault(at, "row numbers go from 1 to " + std::to_string(Formats::ROWS));
        if (rest.substr(0, PLAIN.size()) == PLAIN) {
            rest.remove_prefix(PLAIN.size());
            if (!rest.empty() && rest[0] == ' ') rest.remove_prefix(1);
            if (rest.substr(0, 1) == "(") fault(at, "a text row that begins with \"(\" would be taken for a format");
        } else {
            const FormatRow row{rest};
            if (rest.empty() || rest[0] != '(')
                fault(at, "neither \"(...)\" nor \"text: ...\"");
            else if (!row.error().empty())
                fault(at, row.error());
        }
        add(entries.rows, {number, std::string(rest)}, Formats::ROW_LENGTH, at);
    }

    void add(std::vector<std::pair<CatalogueRow, Place>>& list, CatalogueRow row, int longest, const Place& at) {
        if (row.text.size() > std::size_t(longest))
            fault(at, std::to_string(row.text.size()) + " characters, more than " + std::to_string(longest));
        list.emplace_back(std::move(row), at);
    }

    /// A routine's file with the common ones that it uses, checked as a whole, into the blocks.
    void compile(const std::string& name, const Entries& own, const std::map<std::string, Entries>& files) {
        const auto known = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '$'; };
        if (name.size() > std::size_t(Catalogue::NAME_LENGTH) || !std::all_of(name.begin(), name.end(), known))
            fault({(directory_ / (name + ".txt")).string(), 0}, "the name of a routine has up to 6 upper-case letters");
        Entries all = own;
        for (const auto& [used, at] : own.uses) {
            const auto file = files.find(used);
            if (file == files.end()) {
                fault(at, "there is no " + used + ".txt");
                continue;
            }
            all.rows.insert(all.rows.end(), file->second.rows.begin(), file->second.rows.end());
            all.messages.insert(all.messages.end(), file->second.messages.begin(), file->second.messages.end());
        }
        if (name == FIXED_BLOCK)
            for (const auto& [row, at] : all.rows)
                if (row.text.size() > std::size_t(Formats::FIXED_LENGTH))
                    fault(at, std::to_string(row.text.size()) + " characters, and fixed rows have " +
                                  std::to_string(Formats::FIXED_LENGTH));
        if (all.messages.size() > std::size_t(MOST_MESSAGES))
            fault(all.messages.back().second, "more than " + std::to_string(MOST_MESSAGES) + " messages");
        finish(name, all.rows, formats, "row");
        finish(name, all.messages, messages, "message");
    }

    void finish(const std::string& name, const std::vector<std::pair<CatalogueRow, Place>>& list,
                Catalogue::Source& source, const std::string& what) {
        if (list.empty()) return;
        std::map<int, Place> seen;
        std::vector<CatalogueRow> rows;
        for (const auto& [row, at] : list) {
            const auto [first, is_new] = seen.emplace(row.index, at);
            if (!is_new)
                fault(at, what + ' ' + std::to_string(row.index) + " of " + name + " stands in " + first->second.file +
                              ':' + std::to_string(first->second.line) + " already");
            rows.push_back(row);
        }
        source.emplace_back(name, std::move(rows));
    }

    /// The next word of the line, without the blanks around it.
    static std::string_view word(std::string_view& rest) {
        const std::string_view w = rest.substr(0, rest.find(' '));
        rest.remove_prefix(w.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
        return w;
    }

    std::optional<std::string> to_latin1(std::string_view utf8, const Place& at) {
        std::string latin1;
        for (std::size_t i = 0; i < utf8.size(); ++i) {
            const auto c = static_cast<unsigned char>(utf8[i]);
            const auto next = static_cast<unsigned char>(i + 1 < utf8.size() ? utf8[i + 1] : '\0');
            const std::string column = " in byte " + std::to_string(i + 1);
            if (c >= 0x20 && c < 0x7F) {
                latin1 += char(c);
            } else if ((c == 0xC2 || c == 0xC3) && next >= (c == 0xC2 ? 0xA0 : 0x80) && next < 0xC0) {
                latin1 += char((c & 0x03) << 6 | (next & 0x3F));
                ++i;
            } else {
                fault(at, (c >= 0x80 ? "a character outside Latin-1" : "a tab or other control character") + column);
                return std::nullopt;
            }
        }
        return latin1;
    }

    std::filesystem::path directory_;
    int faults_ = 0;
};

bool write_file(const std::string& path, const Catalogue::Source& blocks) {
    CatalogueVersion version;
    version.number = 1;
    version.stamp = PROGRAM_STAMP;
    version.origin = "Korvane";
    version.letters = "PT";
    const std::string bytes = Catalogue::build(blocks, version);
    if (bytes.empty()) {
        std::fprintf(stderr, "%s: more than %d records\n", path.c_str(), Catalogue::MOST_RECORDS);
        return false;
    }
    OutputFile file(path, OutputFile::Mode::create);
    file.write(bytes);
    if (file.commit()) return true;
    std::fprintf(stderr, "%s: cannot be written\n", path.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: kvncat DIR OUT.fmt OUT.msg\n");
        return 2;
    }
    CatalogueCompiler compiler(argv[1]);
    if (!compiler.run()) return 1;
    return write_file(argv[2], compiler.formats) && write_file(argv[3], compiler.messages) ? 0 : 1;
}
