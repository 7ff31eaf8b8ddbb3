// The interactive prompt: between two clauses a line of the standard input decides how the trace goes on.
#include "engine/clauses.h"
#include "engine/trace.h"
#include "platform/input.h"

namespace {

/// A typed line runs: its clauses aren't traced and its commands leave RC alone.
struct typed_line {
    typed_line() { rx_walk->interactive++; }
    ~typed_line() { rx_walk->interactive--; }
};

} // namespace

bool rx_trace_prompt(rx_flow &flow) {
    rx_trace_record &state = *rx_trace_state;
    std::string line;
    for (;;) {
        rx_input_line(line);
        if (line.empty()) return true;
        if (line[0] == '=') return false;
        line += ';';
        rx_flow typed = rx_flow::next;
        bool done;
        {
            typed_line running;
            done = rx_run_fragment(line, typed);
        }
        if (done && typed != rx_flow::next) {
            flow = typed;
            return true;
        }
        if (state.lines_to_skip > 0) {
            state.prompts_to_skip = state.lines_to_skip - 1;
            return true;
        }
        if (state.prompts_to_skip > 0) return true;
        if ((rx_settings->trace & TRACE_PROMPT) == 0) return true;
    }
}
