#include "base/output.h"
#include "compiled/compiled.h"
#include "compiled/format.h"
#include "front/scan_passes.h"

namespace {

constexpr int invalid_file = 76;

/// Thrown where the data ends too early or can't be what the writer wrote.
struct bad_file {};

/// What follows the marks of a compiled file; nothing when the text is none.
bool find_data(std::string_view text, std::string_view &data) {
    using namespace rx_compiled;
    for (int i = 0; i < 2; i++) {
        size_t end = text.find('\n');
        if (end == std::string_view::npos) return false;
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        size_t start = line.find(script_mark);
        size_t name = line.rfind(interpreter_name);
        if (start == std::string_view::npos || name == std::string_view::npos || name < start) continue;
        text.remove_prefix(std::min(text.find_first_not_of('\n'), text.size()));
        if (!text.starts_with(mark)) return false;
        data = text.substr(std::min(text.find('\n'), text.size() - 1) + 1);
        return true;
    }
    return false;
}

/// The data without the backslashes in front of line feeds.
std::string unescaped(std::string_view data) {
    std::string result;
    result.reserve(data.size());
    for (size_t feed; (feed = data.find('\n')) != std::string_view::npos; data.remove_prefix(feed + 1)) {
        bool escaped = feed > 0 && data[feed - 1] == '\\';
        result.append(data.substr(0, feed - (escaped ? 1 : 0))) += '\n';
    }
    return result.append(data);
}

struct reader {
    std::string &data;
    size_t at = 0;
    rx_compiled::scrambler scrambler{};

    size_t left() const { return data.size() - at; }

    uint32_t number() {
        if (left() < rx_compiled::number_size) throw bad_file{};
        uint32_t result = 0;
        for (size_t i = 0; i < rx_compiled::number_size; i++)
            result = result << 8 | static_cast<unsigned char>(data[at++]);
        return result;
    }

    template <class T> T mode(T unset) {
        uint32_t value = number();
        if (value > static_cast<uint32_t>(unset)) throw bad_file{};
        return static_cast<T>(value);
    }

    rx_raw_token token() {
        auto type = static_cast<int32_t>(number());
        bool character = type >= 0 && type < 256, code = type >= SYMBOL && type <= NOGLOBALV;
        if (!character && !code && type != NOLEX) throw bad_file{};
        rx_raw_token made;
        made.type = static_cast<short>(type);
        made.length = number();
        if (made.length > left()) throw bad_file{};
        if (made.length > 0) {
            made.text = data.data() + at;
            scrambler.unscramble(data.data() + at, made.length);
            at += made.length;
        } else if (type == STRING) {
            made.text = "";
        } else if (type == SYMBOL || type == FUNCTION || type == SFUNCTION || type == ENVIRON) {
            throw bad_file{};
        }
        made.line = number();
        made.column = number();
        made.quoted = number() == 1;
        return made;
    }
};

/// Refuses what this program doesn't know, and says so.
uint32_t known_version(uint32_t version) {
    if (static_cast<int32_t>(version) > static_cast<int32_t>(rx_compiled::version))
        rx_print_error("vandra: compiled version number is " + std::to_string(version) + "; current release is " +
                       std::to_string(rx_compiled::version) + ".");
    if (version == 0 || version > rx_compiled::version) throw bad_file{};
    return version;
}

rx_modes_record read_modes(reader &in, uint32_t version) {
    rx_modes_record modes;
    modes.case_mode = in.mode(RX_CASE_UNSET);
    modes.env_mode = in.mode(RX_ENV_UNSET);
    modes.load_mode = in.mode(RX_LOAD_UNSET);
    modes.globalv_mode = version > rx_compiled::version_without_globalv ? in.mode(RX_GLOBALV_UNSET) : RX_NOGLOBALV;
    return modes;
}

/// The source behind the tokens, without the mark at its end.
std::string read_source(reader &in) {
    size_t seam = in.left() > 0 && in.data[in.at] == '\n' ? 1 : rx_compiled::seam.size();
    if (in.left() < seam + 1) throw bad_file{};
    std::string source = in.data.substr(in.at + seam, in.left() - seam - 1);
    in.scrambler.unscramble(source.data(), source.size());
    return source;
}

} // namespace

bool rx_read_compiled(std::string &text, rx_arena &arena, bool apply_modes, rx_scan_result &result) {
    std::string_view escaped;
    if (!find_data(text, escaped)) return false;
    try {
        std::string data = unescaped(escaped);
        reader in{data};
        rx_modes_record modes = read_modes(in, known_version(in.number()));
        // More lines than bytes can't be; a number that no line reaches does no harm.
        result.lines = static_cast<unsigned>(std::min<size_t>(in.number(), text.size()));
        uint32_t count = in.number();
        rx_raw_tokens tokens;
        tokens.reserve(std::min<size_t>(count, in.left() / rx_compiled::smallest_token));
        for (; count > 0; count--) tokens.push_back(in.token());
        std::string source = read_source(in);
        result.tokens = rx_finish_tokens(tokens, arena, false);
        text = std::move(source);
        if (apply_modes) *rx_modes = modes;
    } catch (const bad_file &) {
        result = rx_scan_result{};
        result.error = invalid_file;
    }
    return true;
}
