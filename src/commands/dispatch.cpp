#include "commands/dispatch.h"

#include "base/modes.h"
#include "base/output.h"
#include "commands/execio.h"
#include "commands/globalv.h"
#include "commands/queue.h"
#include "platform/strings.h"

#include <string>

namespace {

/// How much of the command has to be the name of a row.
enum class match {
    word,  ///< a blank, a tab or the end follows
    blank, ///< a blank follows
    whole, ///< nothing follows
    start  ///< anything may follow
};

struct command_row {
    std::string_view name;
    match how;
    int (*run)(std::string_view rest); ///< gets what follows the name
};

const command_row rows[] = {
    {"execio", match::blank, [](std::string_view rest) { return rx_execio(rest.substr(1)); }},
    {"makebuf", match::word, [](std::string_view) { return rx_makebuf(); }},
    {"dropbuf", match::word, [](std::string_view rest) { return rx_dropbuf(rest); }},
    {"globalv", match::word, rx_globalv},
    {"desbuf", match::whole,
     [](std::string_view) {
         rx_desbuf();
         return 0;
     }},
    {"sentries", match::start, [](std::string_view) { return static_cast<int>(rx_queue_count()); }},
};

bool follows(match how, std::string_view rest) {
    switch (how) {
    case match::word: return rest.empty() || rest[0] == ' ' || rest[0] == '\t';
    case match::blank: return rest.starts_with(' ');
    case match::whole: return rest.empty();
    case match::start: return true;
    }
    return false;
}

bool is_switched_off(const command_row &row) {
    return row.name == "globalv" && rx_modes->globalv_mode == RX_NOGLOBALV;
}

} // namespace

bool rx_dispatch_command(std::string_view command, int &code) {
    for (const command_row &row : rows) {
        size_t length = row.name.size();
        if (command.size() < length || !rx_equal_nocase(command.substr(0, length), row.name)) continue;
        std::string_view rest = command.substr(length);
        if (!follows(row.how, rest) || is_switched_off(row)) continue;
        code = row.run(rest);
        return true;
    }
    return false;
}
