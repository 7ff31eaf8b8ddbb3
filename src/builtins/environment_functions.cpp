// The environment of the process, and who and where it is.
#include "builtins/arguments.h"
#include "builtins/handlers.h"
#include "platform/environment.h"
#include "platform/path_status.h"

/// getenv(name)
/// The value of an environment variable, empty when it isn't set.
/// Result: string
/// Errors: 40 for a wrong count
/// Example: call setenv 'COLOUR=blue'; getenv('COLOUR') -> blue
rx_value bu_getenv(const rx_expr *list) {
    bu_args args(list, "GETENV", 1, 1, "needs 1 argument.");
    return rx_string(rx_getenv(args.text(0)).value_or(""));
}

/// putenv(text), also setenv
/// Sets an environment variable from the text name=value.
/// Result: number: 0, or -1 for a text that sets nothing
/// Errors: 40 for a wrong count
/// Example: putenv('COLOUR=') putenv('COLOUR') -> 0 -1
rx_value bu_putenv(const rx_expr *list) {
    bu_args args(list, "SETENV", 1, 1, "needs 1 argument.");
    std::string_view text = args.text(0);
    size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0 || text.find('\0') < equals) return bu_number(-1);
    rx_setenv(text.substr(0, equals), text.substr(equals + 1));
    return bu_number(0);
}

/// unsetenv(name)
/// Deletes an environment variable.
/// Result: number: 0
/// Errors: 40 for a wrong count
/// Example: call setenv 'COLOUR=blue'; unsetenv('COLOUR') || getenv('COLOUR') -> 0
rx_value bu_unsetenv(const rx_expr *list) {
    bu_args args(list, "UNSETENV", 1, 1, "needs 1 argument.");
    rx_unsetenv(args.text(0));
    return bu_number(0);
}

/// cuserid(), also userid
/// The name of the user that the program works for.
/// Result: string
/// Errors: 40 for an argument
/// Example: userid() = `'id -un'` -> 1
rx_value bu_cuserid(const rx_expr *list) {
    bu_args(list, "USERID").expect_none("must receive 0 argument.");
    return rx_string(rx_login_name());
}

/// hostname()
/// The name of the machine.
/// Result: string
/// Errors: 40 for an argument
/// Example: hostname() = `'uname -n'` -> 1
rx_value bu_hostname(const rx_expr *list) {
    bu_args(list, "HOSTNAME").expect_none("must receive 0 argument.");
    return rx_string(rx_host_name());
}
