// The value record.
//
// Every value that an expression yields, a variable holds or a built-in receives is one rx_value of 24 bytes. It is a
// number (an IEEE double) or a string, never both: turning a string into a number loses the text, and the text of a
// number is spelled anew, under the NUMERIC settings of the moment, each time that it is asked for.
//
//   bytes 0-3   kind, storage of the text, `rounded`, and a byte that is always 0
//   bytes 4-7   a number's `decimals`: how many digits behind the point its text shows (below 1: none restored);
//               a string's length in bytes
//   bytes 8-23  the double; or up to 15 bytes of text and a NUL; or pointer and capacity of a longer text
//
// A short string that is a plain whole number ("27", "007") may carry that number in the last eight bytes, behind its
// text; `rounded` is then 1. Whoever changes the bytes of a string has gone through rx_reserve or rx_resize, which
// forget the number.
//
// A number, a short text, a constant and a variable read thus never allocate. Text is bytes, NUL may occur anywhere,
// and there is always one more NUL behind the last byte. The record is move-only and owns its text, with one exception:
// a `borrowed` text belongs to the arena of a program tree, or to another record. Only literals in a tree and the
// arguments of a built-in are borrowed; a copy always owns its text, so that a value outlives where it came from.
//
// The third kind, none, stands where other systems would have a null pointer: an omitted argument, a routine that
// returned nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

/// A record of zero bytes is one of kind none.
enum rx_kind : uint8_t { RX_NONE = 0, RX_NUMBER = 1, RX_STRING = 2 };
enum rx_storage : uint8_t { RX_INLINE = 0, RX_HEAP = 1, RX_BORROWED = 2 };

struct rx_value {
    static constexpr size_t inline_capacity = 15;

    rx_kind kind = RX_NONE;
    rx_storage storage = RX_INLINE;
    /// A number: rounding to this many digits or more is known to leave it as it is; 1 only when it is whole; 0: not
    /// known. A string: 1 when it carries its number.
    uint8_t rounded = 0;
    uint8_t unused = 0;
    union {
        int32_t decimals; ///< of a number
        uint32_t length;  ///< of a string
    };
    union {
        double real;
        char bytes[inline_capacity + 1];
        struct {
            char text[8];
            double number;
        } carried;
        struct {
            char *data;
            size_t capacity; ///< bytes that fit behind `data`, the closing NUL not counted
        } heap;
    };

    rx_value() : length(0), bytes{} {}
    rx_value(rx_value &&other) noexcept { take(other); }
    rx_value &operator=(rx_value &&other) noexcept {
        if (this != &other) {
            release();
            take(other);
        }
        return *this;
    }
    ~rx_value() { release(); }

    /// The same value, its text lent for as long as `owner` lives and isn't changed.
    static rx_value lent_by(const rx_value &owner) { return rx_value(&owner); }

    bool is_number() const { return kind == RX_NUMBER; }
    bool is_string() const { return kind == RX_STRING; }
    bool is_none() const { return kind == RX_NONE; }
    /// A string with its number in `carried.number`: whole, no decimals.
    bool carries_number() const { return kind == RX_STRING && rounded == 1; }

    /// The text of a string; not to be asked of a number.
    std::string_view text() const { return {data(), length}; }
    const char *data() const { return storage == RX_INLINE ? bytes : heap.data; }

    /// Makes the record none without looking at what it was, which must own no text.
    void forget() noexcept { std::memset(static_cast<void *>(this), 0, sizeof *this); }

    /// Copies the record without its ownership, word by word: its fields were often written one by one just before, and
    /// the processor would hold a wider load back until they have all reached memory.
    void copy_words(const rx_value &other) noexcept {
        const char *from = reinterpret_cast<const char *>(&other);
        char *to = reinterpret_cast<char *>(this);
        uint64_t head, first, second;
        std::memcpy(&head, from, 8);
        std::memcpy(&first, from + 8, 8);
        std::memcpy(&second, from + 16, 8);
        std::memcpy(to, &head, 8);
        std::memcpy(to + 8, &first, 8);
        std::memcpy(to + 16, &second, 8);
    }

private:
    explicit rx_value(const rx_value *owner) noexcept {
        copy_words(*owner);
        if (storage == RX_HEAP) storage = RX_BORROWED;
    }
    void release() {
        if (kind == RX_STRING && storage == RX_HEAP) release_buffer();
    }
    void release_buffer() noexcept;
    void take(rx_value &other) noexcept {
        copy_words(other);
        other.kind = RX_NONE;
        other.storage = RX_INLINE;
    }
};
static_assert(sizeof(rx_value) == 24);

/// The longest text that a value can hold. Making a longer one raises error 5.
constexpr size_t rx_longest_text = 0x7fffffff;

/// A number with its count of digits behind the point, and what is known of its rounding.
inline rx_value rx_number(double real, int32_t decimals = 0, uint8_t rounded = 0) {
    rx_value value;
    // The four fields of the head in one store, for the word-wise move that mostly follows.
    uint64_t head = uint64_t{static_cast<uint32_t>(decimals)} << 32 | uint64_t{rounded} << 16 | RX_NUMBER;
    std::memcpy(static_cast<void *>(&value), &head, sizeof head);
    value.real = real;
    return value;
}

/// A truth value as the operators give it: the number 0 or 1, no decimals restored.
inline rx_value rx_truth(bool truth) {
    return rx_number(truth ? 1.0 : 0.0, -1, 1);
}

/// A string with a copy of the text.
rx_value rx_string(std::string_view text);

/// A string of `length` bytes for the caller to fill through rx_bytes; the closing NUL is set.
rx_value rx_string_of(size_t length);

/// A string that shares the text of a program tree; see the head of this file.
rx_value rx_borrowed(std::string_view text);

/// The bytes of an owned string, for filling and changing in place.
inline char *rx_bytes(rx_value &string) {
    return string.storage == RX_INLINE ? string.bytes : string.heap.data;
}

/// A copy that owns its text.
inline rx_value rx_copy_value(const rx_value &value) {
    if (value.kind == RX_STRING && value.storage != RX_INLINE) return rx_string(value.text());
    rx_value copy;
    copy.copy_words(value);
    return copy;
}

/// Replaces the value of a record by a copy of another, which owns its text.
inline void rx_put_copy(rx_value &record, const rx_value &value) {
    bool has_buffer = record.kind == RX_STRING && record.storage == RX_HEAP;
    if (value.storage == RX_INLINE && !has_buffer) [[likely]]
        record.copy_words(value);
    else
        record = rx_copy_value(value);
}

/// Makes the string one that owns its text with room for `capacity` bytes, so that it can be changed in place.
void rx_reserve(rx_value &string, size_t capacity);

/// Cuts or lengthens an owned string to `length` bytes; new bytes are for the caller to fill. Growing is amortised.
void rx_resize(rx_value &string, size_t length);

/// Appends to an owned string, in amortised constant time per byte. `text` may not lie inside the string.
void rx_append(rx_value &string, std::string_view text);
