// Any bytes as a deck: the whole program reads them as redirected standard input, block by block. Codes that would
// reach out of the process (files, shell) are taken out of the input first.
#include <cstdlib>
#include <span>
#include <string>

#include "app/code_table.hpp"
#include "frame/run.hpp"
#include "network/store.hpp"
#include "null_platform.hpp"
#include "powerflow/powerflow.hpp"

namespace {

using namespace korvane;

class BytesPlatform : public fuzz::NullPlatform {
public:
    explicit BytesPlatform(std::string_view bytes) : bytes_(bytes) {}
    std::optional<std::string> read_console() override {
        if (at_ >= bytes_.size()) return std::nullopt;
        const auto end = std::min(bytes_.find('\n', at_), bytes_.size());
        std::string line(bytes_.substr(at_, end - at_));
        at_ = end + 1;
        for (const char* code : {"ULOG", "LOGD", "CLOG", "DOS", "DMAC", "ARQV"})
            if (line.size() >= 3 && (line.substr(0, 4) == code || line.find('@') != line.npos)) line = "INFO";
        for (const char* option : {"CPRI", "cpri", "EJAC", "ejac"})  // these write files of their own
            if (line.find(option) != line.npos) line = "INFO";
        return line;
    }
    // Written decks go nowhere, so that the writer too meets every network.
    std::optional<std::string> environment(const std::string& name) const override {
        return name == "KVN$PUNCH" ? std::optional<std::string>("/dev/null") : std::nullopt;
    }

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const StorePtr store = make_store();
    static const MatricesPtr matrices = make_matrices();
    BytesPlatform platform(std::string_view(reinterpret_cast<const char*>(data), size));
    Run run(platform, *store, *matrices);
    equip(run);
    const char* const arguments[] = {"korvane"};
    run_program(run, arguments);
    return 0;
}
