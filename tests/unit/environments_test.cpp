// Environments for host commands that an embedding program registers.
#include "driver/run.h"
#include "engine/host.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<std::string> commands;

/// Notes the command; its length is the return code, or less 100 when the environment's data say so.
int note(std::string_view command, void *data) {
    commands.emplace_back(command);
    int code = static_cast<int>(command.size());
    return data ? code - *static_cast<int *>(data) : code;
}

int leave(std::string_view command, void *) {
    rx_host_exit(command, 17);
    return 0;
}

struct environments : testing::Test {
    fs::path directory = fs::temp_directory_path() /
                         ("vandra-environments-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                          "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::optional<std::string> result;

    void SetUp() override {
        fs::create_directories(directory);
        commands.clear();
        rx_env_defaults();
    }
    void TearDown() override { fs::remove_all(directory); }

    int run(const std::string &text) {
        fs::path path = directory / "script.vnd";
        std::ofstream(path) << "trace o\n" << text;
        return run_rx(path.string(), directory.c_str(), nullptr, &result);
    }
};

TEST_F(environments, a_capture_shows_the_lines_that_are_wanted) {
    ::setenv("CAPTURE_SHELL", "/usr/bin/printf", 1);
    testing::internal::CaptureStdout();
    rx_capture captured =
        rx_capture_command("'one\\n%s\\r\\n\\032\\nno end' two",
                           {.shell_variable = "CAPTURE_SHELL", .echo = true, .shows = [](std::string_view line) {
                                return line != "two";
                            }});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\n\x1A\nno end\n");
    EXPECT_EQ(captured.lines, (std::vector<std::string>{"one", "two", "\x1A", "no end"}));
    EXPECT_EQ(captured.code, 0);
}

TEST_F(environments, a_registered_one_receives_its_commands) {
    rx_env_register("editor", note, false, nullptr);
    run("address editor\n"
        "'locate' 1 + 1\n"
        "first = rc\n"
        "address windows\n"
        "address editor 'makebuf'\n"
        "exit first rc address()");
    EXPECT_EQ(commands, (std::vector<std::string>{"locate 2", "makebuf"}));
    EXPECT_EQ(result, "8 7 WINDOWS");
}

TEST_F(environments, a_negative_code_is_a_failure) {
    int hundred = 100;
    rx_env_register("EDITOR", note, false, &hundred);
    run("address editor\n"
        "signal on failure\n"
        "signal on error\n"
        "'xyz'\n"
        "exit 'none'\n"
        "error: exit 'error'\n"
        "failure: exit rc condition('C') condition('D')\n");
    EXPECT_EQ(result, "-97 FAILURE xyz");
}

TEST_F(environments, the_current_one_is_where_a_run_begins) {
    rx_env_register("EDITOR", note, true, nullptr);
    run("'here'; name = address(); address; exit name address()");
    EXPECT_EQ(commands, std::vector<std::string>{"here"});
    EXPECT_EQ(result, "EDITOR WINDOWS");
}

TEST_F(environments, a_handler_can_end_the_run) {
    rx_env_register("EDITOR", leave, false, nullptr);
    EXPECT_EQ(run("address editor 'goodbye'\n"
                  "exit 1"),
              17);
    EXPECT_EQ(result, "goodbye");
    // The request is spent.
    EXPECT_EQ(run("exit 1"), 1);
}

TEST_F(environments, a_name_keeps_its_row_and_a_removed_one_is_gone) {
    int hundred = 100;
    rx_env_register("EDITOR", note, false, nullptr);
    rx_env_register("EDITOR", note, false, &hundred);
    run("address editor 'x'; exit rc");
    EXPECT_EQ(result, "-99");
    rx_env_register("EDITOR", nullptr, false, nullptr);
    EXPECT_EQ(run("address editor 'x'"), 56);
    rx_env_register("NEVER THERE", nullptr, false, nullptr);
    EXPECT_EQ(run("address exec 'true'; exit rc"), 0);
}

} // namespace
