#include "values/value.h"

#include "base/raise.h"
#include "platform/sanitizer.h"
#include "platform/strings.h"

#include <algorithm>

namespace {

// The results of most string functions live no longer than a clause or two. A few buffers of each of the sizes that
// texts of up to 263 bytes take are kept when they are given back, so that the next such text has one at once: that
// takes a tenth of the time of the library's allocation. Sizes are the library's own, which rounds up the same way, so
// nothing is wasted. Under AddressSanitizer each buffer goes back, so that a use behind its end is seen.

constexpr size_t sizes = 17;       // of 16n + 8 bytes each, the closing NUL among them; there is none of 8
constexpr size_t most_spares = 16; // of each size

struct spare_buffers {
    size_t count = 0;
    char *buffers[most_spares] = {};
};

constinit spare_buffers spares[sizes];

spare_buffers *spares_of(size_t capacity) {
    return capacity / 16 < sizes && !rx_address_sanitizer ? &spares[capacity / 16] : nullptr;
}

/// Points the string to a fresh buffer of that capacity or a little more; the old text isn't released.
void give_buffer(rx_value &string, size_t capacity) {
    capacity = (capacity + 8) / 16 * 16 + 7;
    spare_buffers *kept = spares_of(capacity);
    bool ready = kept && kept->count;
    string.heap.data = ready ? kept->buffers[--kept->count] : static_cast<char *>(::operator new(capacity + 1));
    string.heap.capacity = capacity;
    string.storage = RX_HEAP;
}

void check_length(size_t length) {
    if (length > rx_longest_text) rx_raise(5);
}

} // namespace

void rx_value::release_buffer() noexcept {
    spare_buffers *kept = spares_of(heap.capacity);
    if (kept && kept->count < most_spares)
        kept->buffers[kept->count++] = heap.data;
    else
        ::operator delete(heap.data);
}

rx_value rx_string_of(size_t length) {
    check_length(length);
    rx_value value;
    value.kind = RX_STRING;
    if (length > rx_value::inline_capacity) give_buffer(value, length);
    value.length = static_cast<uint32_t>(length);
    rx_bytes(value)[length] = '\0';
    return value;
}

rx_value rx_string(std::string_view text) {
    rx_value value;
    if (text.size() <= rx_value::inline_capacity) {
        // Three stores of a word each, for the word-wise moves that follow.
        uint64_t head = uint64_t{text.size()} << 32 | RX_STRING;
        rx_short_text bytes = rx_load_short(text.data(), text.size());
        std::memcpy(static_cast<void *>(&value), &head, sizeof head);
        std::memcpy(value.bytes, &bytes, sizeof bytes);
        return value;
    }
    check_length(text.size());
    value.kind = RX_STRING;
    value.length = static_cast<uint32_t>(text.size());
    give_buffer(value, text.size());
    rx_copy_bytes(value.heap.data, text.data(), text.size());
    value.heap.data[text.size()] = '\0';
    return value;
}

rx_value rx_borrowed(std::string_view text) {
    if (text.size() <= rx_value::inline_capacity) return rx_string(text);
    rx_value value;
    value.kind = RX_STRING;
    value.storage = RX_BORROWED;
    value.length = static_cast<uint32_t>(text.size());
    value.heap.data = const_cast<char *>(text.data());
    value.heap.capacity = text.size();
    return value;
}

void rx_reserve(rx_value &string, size_t capacity) {
    check_length(capacity);
    string.rounded = 0;
    size_t have = string.storage == RX_INLINE ? rx_value::inline_capacity : string.heap.capacity;
    if (capacity <= have && string.storage != RX_BORROWED) return;
    rx_value larger;
    larger.kind = RX_STRING;
    larger.length = string.length;
    give_buffer(larger, std::max(capacity, static_cast<size_t>(string.length)));
    std::memcpy(larger.heap.data, string.data(), string.length + size_t{1});
    string = std::move(larger);
}

void rx_resize(rx_value &string, size_t length) {
    size_t have = string.storage == RX_INLINE ? rx_value::inline_capacity : string.heap.capacity;
    if (length > have || string.storage == RX_BORROWED) {
        check_length(length);
        rx_reserve(string, std::min(rx_longest_text, std::max(length, have + have / 2)));
    }
    string.rounded = 0;
    string.length = static_cast<uint32_t>(length);
    rx_bytes(string)[length] = '\0';
}

void rx_append(rx_value &string, std::string_view text) {
    size_t before = string.length;
    rx_resize(string, before + text.size());
    rx_copy_bytes(rx_bytes(string) + before, text.data(), text.size());
}
