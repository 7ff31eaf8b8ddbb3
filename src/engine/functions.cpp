#include "engine/functions.h"

#include "engine/engine.h"
#include "platform/strings.h"

#include <deque>

namespace {

constexpr size_t buckets = 2048;

struct index_node {
    std::string name;
    const rx_function_row *row;
    index_node *next = nullptr;
};

/// The search structure of the table in one of its three spellings.
struct function_index {
    bool built = false;
    std::array<index_node *, buckets> chains{};
    std::deque<index_node> nodes;
};

// The written table and its indexes live as long as the process.
const rx_function_row *written_rows = nullptr;
size_t written_count = 0;

unsigned hash_of(std::string_view name) {
    unsigned h = name.empty() ? 0 : static_cast<unsigned char>(name[0]);
    for (char c : name) h = (h * 31 + static_cast<unsigned char>(c)) & (buckets - 1);
    return h;
}

index_node *find(const function_index &index, std::string_view name) {
    for (index_node *node = index.chains[hash_of(name)]; node; node = node->next) {
        if (node->name == name) return node;
    }
    return nullptr;
}

/// New keys go to the end of their chain; the first row of a name stays in force.
void enter(function_index &index, std::string name, const rx_function_row &row) {
    if (find(index, name)) return;
    index_node **link = &index.chains[hash_of(name)];
    while (*link) link = &(*link)->next;
    index.nodes.push_back({std::move(name), &row, nullptr});
    *link = &index.nodes.back();
}

function_index &index_in_force() {
    static function_index as_written, upper, lower;
    rx_case_mode mode = rx_modes->case_mode;
    function_index &index = mode == RX_MIXED ? as_written : mode == RX_LOWER ? lower : upper;
    if (!index.built) {
        index.built = true;
        for (size_t i = 0; i < written_count; i++) enter(index, rx_folded(written_rows[i].name), written_rows[i]);
    }
    return index;
}

} // namespace

void rx_set_function_table(const rx_function_row *rows, size_t count) {
    written_rows = rows;
    written_count = count;
}

const rx_function_row *bu_lookup_row(std::string_view name) {
    const index_node *node = find(index_in_force(), name);
    return node ? node->row : nullptr;
}

void rx_eval_args(const rx_expr *list, rx_arguments &arguments) {
    arguments.list = list;
    size_t count = 0;
    for (const rx_expr *node = list; node; node = node->next) count++;
    if (count > arguments.few.size()) arguments.more.resize(count);
    arguments.count = count;
    int level = rx_routine->call_level;
    size_t i = 0;
    for (const rx_expr *node = list; node; node = node->next, i++) {
        if (node->type != VIDE) arguments[i] = do_exec(node, level);
    }
}

void rx_arg_error(const rx_expr *list, size_t index, std::string message, int number) {
    if (list) {
        while (index-- > 0 && list->next) list = list->next;
        rx_error.line = list->line;
        rx_error.column = list->column;
    }
    rx_raise(number, std::move(message));
}
