// The stream of a case: fields of one kind of element each, laid over the records of its chain.
//
// Bytes 0 to 3 of a record are the link, so payload begins at the first whole slot behind it; a slot is 8 bytes in the
// wide encoding and 4 in the narrow one. Elements of a field lie back to back, an element never lies in two records,
// but a text may. After a field the stream goes on at the next whole slot.
#pragma once
#include <array>
#include <cstdint>
#include <cstring>

#include "casestore/directory.hpp"

namespace korvane {

/// wide: reals of 8 bytes, integers of 4. narrow: reals of 4 bytes, integers of 2.
enum class Encoding { wide, narrow };

constexpr std::array<unsigned char, 4> WIDE_TAG = {0x52, 0x08, 0x49, 0x04};  // bytes 4 to 7 of a wide case

/// What both directions share: the record at hand and the place in it.
class CaseStream {
public:
    Encoding encoding() const { return encoding_; }
    /// The next field's elements go to this byte of the record at hand, if it has room.
    int cursor() const { return cursor_; }

protected:
    CaseStream(Records& r, Encoding e) : records_(r), encoding_(e), unit_(e == Encoding::wide ? 8 : 4) {}

    /// The first word of the buffer: number of the record being filled, or link of the record just read.
    int word() const {
        int w;
        std::memcpy(&w, buffer_.data(), sizeof w);
        return w;
    }
    void set_word(int w) { std::memcpy(buffer_.data(), &w, sizeof w); }
    /// Lays n elements of `size` bytes over the records: piece(bytes, first, m) for each run of m that lie in one.
    /// next() turns to the next record and tells whether there is one.
    template <class Next, class Piece>
    bool lay(int n, int size, Next&& next, Piece&& piece) {
        for (int done = 0; done < n;) {
            const int room = (CASE_RECORD - cursor_) / size;
            if (room == 0) {
                if (!next()) return false;
                continue;
            }
            const int m = n - done < room ? n - done : room;
            piece(buffer_.data() + cursor_, done, m);
            done += m;
            cursor_ += m * size;
        }
        cursor_ = (cursor_ + unit_ - 1) / unit_ * unit_;
        return true;
    }

    Records& records_;
    Encoding encoding_;
    int unit_, cursor_ = 0;
    std::array<char, CASE_RECORD> buffer_{};
};

/// Elements of a table at equal distances: bytes from one to the next.
template <class T>
struct Strided {
    T* at;
    int stride = int(sizeof(T));
    T& operator[](int i) const {
        using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
        return *reinterpret_cast<T*>(reinterpret_cast<Byte*>(at) + std::ptrdiff_t(i) * stride);
    }
};

/// Writes a case into free records. Once room has run out, or the device has failed, every call is without effect.
class CaseWriter : public CaseStream {
public:
    /// Starts in the first free record. With `extend` the file grows when its free chain ends, at the record behind its
    /// highest, which this object counts on.
    CaseWriter(Records& r, Encoding e, int first, int highest, bool extend);

    void SAVFLT(Strided<const double> v, int n);
    /// T: int, or an unsigned byte.
    template <class T>
    void SAVINT(Strided<const T> v, int n);
    void SAVLOG(Strided<const bool> v, int n);
    /// n texts of so many bytes.
    void SAVCHR(Strided<const char> v, int n, int bytes);

    bool full() const { return word() < 1; }  // no room, or the device failed
    bool failed() const { return failed_; }   // the device failed
    int records() const { return count_; }    // of the case so far
    int highest() const { return highest_; }  // record of the file

    /// Writes the last record. Returns its number and the free record behind it, 0 for none.
    struct End {
        int last, free_head;
    };
    End finish();

private:
    bool next();
    int link_of(int record);
    int EXTREC();

    int count_ = 1, highest_;
    bool extend_, failed_ = false;
};

/// Reads a case. After a fault every call leaves its table alone.
class CaseReader : public CaseStream {
public:
    enum class Fault {
        none,
        unreadable,  // a record cannot be read
        chain        // the case goes on where its chain ends, or leads out of the file
    };
    /// last: record at which the case must end, 0 when nobody knows. highest: record of the file.
    CaseReader(Records& r, Encoding e, int first, int last, int highest);

    void RETFLT(Strided<double> v, int n);
    /// T: int, or an unsigned byte. Values that it cannot hold are told by outside().
    template <class T>
    void RETINT(Strided<T> v, int n);
    void RETLOG(Strided<bool> v, int n);
    void RETCHR(Strided<char> v, int n, int bytes);
    /// Passes over n elements of so many bytes.
    void skip(int n, int bytes);

    Fault fault() const { return fault_; }
    bool outside() const { return outside_; }  // an integer did not fit its table
    int record() const { return record_; }     // being read
    int real_bytes() const { return encoding_ == Encoding::wide ? 8 : 4; }
    int integer_bytes() const { return encoding_ == Encoding::wide ? 4 : 2; }

private:
    bool next();

    int record_ = 0, last_, highest_, steps_ = 0;
    Fault fault_ = Fault::none;
    bool outside_ = false;
};

/// What the first record of a case tells by itself.
struct CaseHead {
    Encoding encoding;
    std::array<char, 80> title;
    int family, version;
};
/// Reads the head of the case that begins at a record. False when the record cannot be read.
bool read_head(Records& r, int first, CaseHead& head);

}  // namespace korvane
