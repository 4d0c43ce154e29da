// DCMT: free text about the case, kept with it.
#include "network/case_comment.hpp"

#include "frame/card_block.hpp"
#include "network/network.hpp"

namespace korvane {

namespace {

std::string_view row_of(const CaseComment& comment, int row) {
    return {comment.text.data() + row * COMMENT_WIDTH, std::size_t(COMMENT_WIDTH)};
}

/// Prints the line in CARD with its messages, as the card of a block is printed.
void echo_line(Run& run) {
    if (!run.opt["IMPR"_opt] && !run.msg.any_wait()) return;
    using namespace card_detail;
    constexpr Slot LINE[] = {{1, 132, 0, Kind::text, 0, 132, 1, 0, nullptr}};
    constexpr Slot PARTS[] = {{1, 79, 0, Kind::text, 0, 79, 1, 0, nullptr},
                              {80, 53, 0, Kind::text, 0, 53, 1, 0, nullptr}};
    std::span<const Slot> shown = LINE;
    if (run.opt["80CO"_opt]) shown = std::span(PARTS, run.CARD.trimmed().size() < 80 ? 1 : 2);
    echo(run, EchoRows{}, shown, OperationColumn{}, Operation::modify);
}

}  // namespace

std::vector<std::string> comment_lines(const Store& s) {
    const int count = s.comment.length / COMMENT_WIDTH;
    auto needs_line_before = [&](int row) {
        const std::string_view text = row_of(s.comment, row);
        return text[0] == '(' || text.substr(0, 5) == "99999";
    };
    std::vector<std::string> lines;
    for (int row = 0; row < count; ++row) {
        std::string line(row_of(s.comment, row));
        if (row + 1 < count && (blank(line) || needs_line_before(row + 1))) line += row_of(s.comment, ++row);
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

void INPCMT(Run& run) {
    card_detail::open_block(run, "INPCMT");
    card_detail::Reader reader(run, {}, false, 0);
    std::string text;
    for (;;) {
        if (refuse(run, !reader.next(), 140) || reader.end_card()) break;
        const std::string_view line = run.CARD.trimmed();
        if (!refuse(run, run.units.interactive() && line[0] == '?', 130)) {
            const std::size_t length = (line.size() + COMMENT_WIDTH - 1) / COMMENT_WIDTH * COMMENT_WIDTH;
            if (!refuse(run, text.size() + length > std::size_t(MXCMT), -900)) {
                const std::size_t before = text.size();
                text += line;
                text.resize(before + length, ' ');
            }
        }
        echo_line(run);
    }
    CaseComment& comment = run.store.comment;
    if (!text.empty()) {
        std::copy(text.begin(), text.end(), comment.text.begin());
        comment.length = int(text.size());
    }
    card_detail::close_block(run);
}

}  // namespace korvane
