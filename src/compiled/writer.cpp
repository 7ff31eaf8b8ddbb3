#include "compiled/compiled.h"
#include "compiled/format.h"

namespace {

void put_number(std::string &data, uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) data += static_cast<char>(number >> shift & 255);
}

void put_scrambled(std::string &data, std::string_view text, rx_compiled::scrambler &scrambler) {
    size_t start = data.size();
    data += text;
    scrambler.scramble(data.data() + start, text.size());
}

/// Adds data to the file with a backslash in front of every line feed.
void put_escaped(std::string &file, std::string_view data) {
    for (size_t feed; (feed = data.find('\n')) != std::string_view::npos; data.remove_prefix(feed + 1))
        file.append(data.substr(0, feed)).append("\\\n");
    file += data;
}

} // namespace

std::string rx_compiled_bytes(const std::vector<rx_expr *> &tokens, std::string_view interpreter,
                              std::string_view source, unsigned lines) {
    std::string data;
    for (uint32_t number : {rx_compiled::version, uint32_t{rx_modes->case_mode}, uint32_t{rx_modes->env_mode},
                            uint32_t{rx_modes->load_mode}, uint32_t{rx_modes->globalv_mode}, uint32_t{lines},
                            static_cast<uint32_t>(tokens.size())})
        put_number(data, number);
    rx_compiled::scrambler scrambler;
    for (const rx_expr *token : tokens) {
        put_number(data, static_cast<uint32_t>(token->type));
        put_number(data, static_cast<uint32_t>(token->text.size()));
        if (!token->text.empty()) put_scrambled(data, token->text, scrambler);
        for (uint32_t number : {token->line, token->column, token->flag}) put_number(data, number);
    }
    std::string file(rx_compiled::script_mark);
    file.append(interpreter).append("\n").append(rx_compiled::mark).append("\n");
    put_escaped(file, data);
    file += rx_compiled::seam;
    data.clear();
    put_scrambled(data, source, scrambler);
    put_escaped(file, data);
    file += rx_compiled::end_mark;
    return file;
}
