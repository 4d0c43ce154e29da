#include "casestore/case_stream.hpp"

namespace korvane {

// --- writing

CaseWriter::CaseWriter(Records& r, Encoding e, int first, int highest, bool extend)
    : CaseStream(r, e), highest_(highest), extend_(extend) {
    cursor_ = unit_;
    set_word(first);
    if (e == Encoding::wide) std::memcpy(buffer_.data() + 4, WIDE_TAG.data(), WIDE_TAG.size());
}

/// The record behind the file's highest joins it; 0 at the ceiling, or when it cannot be written.
int CaseWriter::EXTREC() {
    const int k = highest_ + 1;
    if (k >= RECORD_CEILING || !write_link(records_, k, 0)) return 0;
    return highest_ = k;
}

/// The free record behind this one, made if need be; 0 for none.
int CaseWriter::link_of(int record) {
    int link;
    failed_ = !read_link(records_, record, link);
    if (failed_ || link < 0 || link >= RECORD_CEILING) return 0;
    return link == 0 && extend_ ? EXTREC() : link;
}

bool CaseWriter::next() {
    const int r = word();
    if (r < 1) return false;
    set_word(link_of(r));
    if (failed_ || !records_.write(r, buffer_.data(), CASE_RECORD)) {
        failed_ = true;
        set_word(0);
        return false;
    }
    ++count_;
    cursor_ = unit_;
    std::memset(buffer_.data() + 4, 0, 4);  // no payload there in the wide encoding
    return word() > 0;
}

CaseWriter::End CaseWriter::finish() {
    const int r = word();
    std::memset(buffer_.data() + cursor_, 0, std::size_t(CASE_RECORD - cursor_));
    const int link = link_of(r);
    set_word(link);
    failed_ = failed_ || !records_.write(r, buffer_.data(), CASE_RECORD);
    return {r, link};
}

void CaseWriter::SAVFLT(Strided<const double> v, int n) {
    if (full()) return;
    if (encoding_ == Encoding::wide) {
        lay(
            n, 8, [&] { return next(); },
            [&](char* to, int first, int m) {
                if (v.stride == 8)
                    std::memcpy(to, v.at + first, std::size_t(m) * 8);
                else
                    for (int i = 0; i < m; ++i) std::memcpy(to + 8 * i, &v[first + i], 8);
            });
    } else {
        lay(
            n, 4, [&] { return next(); },
            [&](char* to, int first, int m) {
                for (int i = 0; i < m; ++i) {
                    const float f = float(v[first + i]);
                    std::memcpy(to + 4 * i, &f, 4);
                }
            });
    }
}

template <class T>
void CaseWriter::SAVINT(Strided<const T> v, int n) {
    if (full()) return;
    if (encoding_ == Encoding::wide) {
        lay(
            n, 4, [&] { return next(); },
            [&](char* to, int first, int m) {
                if (sizeof(T) == 4 && v.stride == 4)
                    std::memcpy(to, &v[first], std::size_t(m) * 4);
                else
                    for (int i = 0; i < m; ++i) {
                        const int value = v[first + i];
                        std::memcpy(to + 4 * i, &value, 4);
                    }
            });
    } else {
        lay(
            n, 2, [&] { return next(); },
            [&](char* to, int first, int m) {
                for (int i = 0; i < m; ++i) {
                    const auto value = std::int16_t(v[first + i]);
                    std::memcpy(to + 2 * i, &value, 2);
                }
            });
    }
}
template void CaseWriter::SAVINT(Strided<const int>, int);
template void CaseWriter::SAVINT(Strided<const std::uint8_t>, int);

void CaseWriter::SAVLOG(Strided<const bool> v, int n) {
    if (full()) return;
    lay(
        n, 1, [&] { return next(); },
        [&](char* to, int first, int m) {
            for (int i = 0; i < m; ++i) to[i] = v[first + i] ? char(0xFF) : char(0);
        });
}

void CaseWriter::SAVCHR(Strided<const char> v, int n, int bytes) {
    if (full()) return;
    lay(
        n * bytes, 1, [&] { return next(); },
        [&](char* to, int first, int m) {
            if (v.stride == bytes)
                std::memcpy(to, v.at + first, std::size_t(m));
            else
                for (int i = 0; i < m; ++i) to[i] = (&v[(first + i) / bytes])[(first + i) % bytes];
        });
}

// --- reading

CaseReader::CaseReader(Records& r, Encoding e, int first, int last, int highest)
    : CaseStream(r, e), last_(last), highest_(highest) {
    // The first call reads the first record.
    cursor_ = CASE_RECORD;
    set_word(first);
    next();
}

bool CaseReader::next() {
    if (fault_ != Fault::none) return false;
    const int r = word();
    if (r < 1 || r > highest_ || (record_ != 0 && record_ == last_) || ++steps_ > highest_)
        fault_ = Fault::chain;
    else if (!records_.read(r, buffer_.data(), CASE_RECORD))
        fault_ = Fault::unreadable;
    record_ = r;
    cursor_ = unit_;
    return fault_ == Fault::none;
}

void CaseReader::RETFLT(Strided<double> v, int n) {
    if (fault_ != Fault::none) return;
    if (encoding_ == Encoding::wide) {
        lay(
            n, 8, [&] { return next(); },
            [&](const char* from, int first, int m) {
                if (v.stride == 8)
                    std::memcpy(v.at + first, from, std::size_t(m) * 8);
                else
                    for (int i = 0; i < m; ++i) std::memcpy(&v[first + i], from + 8 * i, 8);
            });
    } else {
        lay(
            n, 4, [&] { return next(); },
            [&](const char* from, int first, int m) {
                for (int i = 0; i < m; ++i) {
                    float f;
                    std::memcpy(&f, from + 4 * i, 4);
                    v[first + i] = f;
                }
            });
    }
}

template <class T>
void CaseReader::RETINT(Strided<T> v, int n) {
    if (fault_ != Fault::none) return;
    auto take = [&](int i, int value) {
        v[i] = T(value);
        outside_ = outside_ || int(v[i]) != value;
    };
    if (encoding_ == Encoding::wide) {
        lay(
            n, 4, [&] { return next(); },
            [&](const char* from, int first, int m) {
                if (sizeof(T) == 4 && v.stride == 4)
                    std::memcpy(&v[first], from, std::size_t(m) * 4);
                else
                    for (int i = 0; i < m; ++i) {
                        int value;
                        std::memcpy(&value, from + 4 * i, 4);
                        take(first + i, value);
                    }
            });
    } else {
        lay(
            n, 2, [&] { return next(); },
            [&](const char* from, int first, int m) {
                for (int i = 0; i < m; ++i) {
                    std::int16_t value;
                    std::memcpy(&value, from + 2 * i, 2);
                    take(first + i, value);
                }
            });
    }
}
template void CaseReader::RETINT(Strided<int>, int);
template void CaseReader::RETINT(Strided<std::uint8_t>, int);

void CaseReader::RETLOG(Strided<bool> v, int n) {
    if (fault_ != Fault::none) return;
    lay(
        n, 1, [&] { return next(); },
        [&](const char* from, int first, int m) {
            for (int i = 0; i < m; ++i) v[first + i] = from[i] & 1;
        });
}

void CaseReader::RETCHR(Strided<char> v, int n, int bytes) {
    if (fault_ != Fault::none) return;
    lay(
        n * bytes, 1, [&] { return next(); },
        [&](const char* from, int first, int m) {
            if (v.stride == bytes)
                std::memcpy(v.at + first, from, std::size_t(m));
            else
                for (int i = 0; i < m; ++i) (&v[(first + i) / bytes])[(first + i) % bytes] = from[i];
        });
}

void CaseReader::skip(int n, int bytes) {
    if (fault_ != Fault::none) return;
    lay(
        n, bytes, [&] { return next(); }, [](const char*, int, int) {});
}

// --- the head

bool read_head(Records& r, int first, CaseHead& head) {
    std::array<char, 96> bytes;
    if (!r.read(first, bytes.data(), int(bytes.size()))) return false;
    const bool wide = std::memcmp(bytes.data() + 4, WIDE_TAG.data(), WIDE_TAG.size()) == 0;
    head.encoding = wide ? Encoding::wide : Encoding::narrow;
    std::memcpy(head.title.data(), bytes.data() + (wide ? 8 : 4), head.title.size());
    if (wide) {
        std::memcpy(&head.family, bytes.data() + 88, 4);
        std::memcpy(&head.version, bytes.data() + 92, 4);
    } else {
        std::int16_t cells[2];
        std::memcpy(cells, bytes.data() + 84, sizeof cells);
        head.family = cells[0];
        head.version = cells[1];
    }
    return true;
}

}  // namespace korvane
