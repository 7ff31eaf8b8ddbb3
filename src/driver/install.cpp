#include "driver/install.h"

#include "builtins/handlers.h"
#include "builtins/hooks.h"
#include "builtins/table.h"
#include "commands/dispatch.h"
#include "commands/queue.h"
#include "driver/run.h"
#include "driver/source.h"
#include "engine/clauses.h"
#include "engine/engine.h"
#include "engine/host.h"
#include "platform/input.h"

void rx_install() {
    static bool done = false;
    if (done) return;
    done = true;
    rx_arm_hooks();
    rx_set_function_table(bu_table, bu_table_size);
    rx_arg_handler = bu_arg;
    rx_queue_door = {rx_queue_pull, rx_read_terminal_line, rx_queue_head, rx_queue_tail};
    rx_load_external = rx_load_external_routine;
    rx_builtin_command = rx_dispatch_command;
    bu_queue_count = rx_queue_count;
    bu_key_waiting = rx_input_waiting;
    bu_home_directory = [] { return *rx_home_directory; };
}
