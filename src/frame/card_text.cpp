#include "frame/card_text.hpp"

#include <algorithm>
#include <cstring>

namespace korvane {

void UPPER(char* text, int n) {
    for (int i = 0; i < n; ++i)
        if (text[i] >= 'a' && text[i] <= 'z') text[i] = char(text[i] - 'a' + 'A');
}

int RJUST(char* text, int n) {
    int to = n;
    for (int i = n - 1; i >= 0; --i)
        if (text[i] != ' ') text[--to] = text[i];
    if (to > 0) std::memset(text, ' ', std::size_t(to));
    return to + 1;
}

int LJUST(char* text, int n) {
    int kept = 0;
    for (int i = 0; i < n && text[i] != '\0'; ++i)
        if (text[i] != ' ') text[kept++] = text[i];
    if (kept < n) std::memset(text + kept, ' ', std::size_t(n - kept));
    return kept;
}

int TRMLEN(const char* text, int n) {
    while (n > 0 && text[n - 1] == ' ') --n;
    return std::max(n, 0);
}

void DECPNT(char* text, int n, int start) {
    for (int i = std::max(start, 1) - 1; i < n; ++i)
        if (text[i] == ',') text[i] = '.';
}

}  // namespace korvane
