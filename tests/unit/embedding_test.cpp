// The interpreter inside another program: kept programs, registered functions, nested runs.
#include "driver/run.h"
#include "engine/functions.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

struct embedding : testing::Test {
    fs::path directory = fs::temp_directory_path() /
                         ("vandra-embedding-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                          "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::optional<std::string> result;

    void SetUp() override { fs::create_directories(directory); }
    void TearDown() override {
        rx_extra_functions.clear();
        fs::remove_all(directory);
    }

    std::string script(const std::string &name, const std::string &text) {
        fs::path path = directory / name;
        std::ofstream(path) << text;
        return path.string();
    }
    int run(const std::string &command, std::unique_ptr<rx_program> *program = nullptr) {
        return run_rx(command, directory.c_str(), program, &result);
    }
};

TEST_F(embedding, exit_gives_code_and_text) {
    EXPECT_EQ(run(script("a.vnd", "exit 40 + 2")), 42);
    EXPECT_EQ(result, "42");
    EXPECT_EQ(run(script("b.vnd", "x = 1")), 0);
    EXPECT_EQ(result, std::nullopt);
    EXPECT_EQ(run(script("c.vnd", "exit 'abcdef'")), 0x64636261);
    EXPECT_EQ(result, "abcdef");
    EXPECT_EQ(run((directory / "missing.vnd").string()), -1);
}

TEST_F(embedding, a_kept_program_is_read_again_only_when_its_file_is_newer) {
    std::string path = script("kept.vnd", "exit 1");
    auto made = fs::last_write_time(path);
    std::unique_ptr<rx_program> program;
    EXPECT_EQ(run(path, &program), 1);
    ASSERT_TRUE(program);
    rx_program *kept = program.get();

    script("kept.vnd", "exit 2");
    fs::last_write_time(path, made);
    EXPECT_EQ(run(path, &program), 1);
    EXPECT_EQ(program.get(), kept);

    fs::last_write_time(path, made + std::chrono::seconds(2));
    EXPECT_EQ(run(path, &program), 2);
}

TEST_F(embedding, a_kept_program_runs_alike_each_time) {
    std::string path = script("again.vnd", "a.1 = 'x'\n"
                                           "s = ''\n"
                                           "do i = 1 to 3; s = s || f(i); end\n"
                                           "numeric digits 5\n"
                                           "exit s symbol('late')\n"
                                           "f: procedure\n"
                                           "late = arg(1)\n"
                                           "return late * 2\n");
    std::unique_ptr<rx_program> program;
    for (int i = 0; i < 3; i++) {
        run(path, &program);
        EXPECT_EQ(result, "246 LIT");
    }
}

TEST_F(embedding, a_program_that_interpreted_nonsense_is_not_kept) {
    std::unique_ptr<rx_program> program;
    EXPECT_EQ(run(script("spoiled.vnd", "interpret 'x = )'"), &program), 55);
    EXPECT_FALSE(program);
}

TEST_F(embedding, explicit_arguments_keep_their_places) {
    std::string path = script("args.vnd", "exit arg() arg(1) arg(2, 'o') arg(3)");
    rx_run_args(path, directory.c_str(), nullptr, {{"a b", false}, {"", true}, {"c", false}}, &result);
    EXPECT_EQ(result, "3 a b 1 c");
}

TEST_F(embedding, a_home_that_is_a_file_is_the_program_of_child_runs) {
    std::string program = script("runner", "#!/bin/sh\nexit 9\n");
    fs::permissions(program, fs::perms::owner_all);
    std::string child = script("child.vnd", "exit 3\n");
    std::string caller = script("caller.vnd", "option noload\ncall '" + child + "'\nexit result\n");
    EXPECT_EQ(run_rx(caller, program.c_str(), nullptr, &result), 9);
    // Without the interpreter's program nothing else is started in its place.
    EXPECT_EQ(run_rx(caller, directory.c_str(), nullptr, &result), 28);
}

std::string inner_script;
int inner_code;

rx_value nest(const rx_expr *arguments, const rx_extra_table &table) {
    rx_arguments values;
    rx_eval_args(arguments, values);
    EXPECT_EQ(&table, &rx_extra_functions);
    inner_code = run_rx(inner_script, "/");
    return rx_number(inner_code);
}

TEST_F(embedding, a_nested_run_leaves_the_outer_one_untouched) {
    inner_script = script("inner.vnd", "option lower\n"
                                       "x = 'inner'; numeric digits 3; numeric form engineering\n"
                                       "signal on syntax; drop a.\n"
                                       "call sub 1, 2, 3\n"
                                       "exit 7\n"
                                       "sub: procedure; return arg(3)\n"
                                       "syntax: exit 8\n");
    rx_extra_functions.push_back({"NEST", nest});
    std::string path = script("outer.vnd", "x = 'outer'; a.1 = 5; a. = 6; a.1 = 5\n"
                                           "numeric digits 12\n"
                                           "do i = 1 to 2\n"
                                           "  interpret 'r = work(i, 9)'\n"
                                           "end\n"
                                           "exit x a.1 a.2 digits() form() i r\n"
                                           "work: procedure expose x a.\n"
                                           "  n = nest()\n"
                                           "  return arg(1) arg(2) arg() n x\n");
    run(path);
    EXPECT_EQ(result, "outer 5 6 12 SCIENTIFIC 3 2 9 2 7 outer");
    EXPECT_EQ(inner_code, 7);
}

TEST_F(embedding, names_that_a_nested_run_brings_may_be_used_by_the_outer_one) {
    std::string inner;
    for (int i = 0; i < 100; i++) {
        std::string n = std::to_string(i);
        inner += "a" + n + " = 1; a" + n + " = a" + n + " + 1; b" + n + ".a" + n + " = 2; b" + n + ".a" + n + " = 3\n";
    }
    inner += "do 3; call g; z = result; y = sigl; rc = 5; x = rc; end; exit 7\ng: return 1\n";
    inner_script = script("inner.vnd", inner);
    rx_extra_functions.push_back({"NEST", nest});
    run(script("outer.vnd", "y = nest(); do 3; call f; z = result; s = sigl; rc = 8; end\n"
                            "exit y z s rc\n"
                            "f: return 5\n"));
    EXPECT_EQ(result, "7 5 1 8");
}

TEST_F(embedding, an_error_of_a_nested_run_ends_only_that_run) {
    inner_script = script("inner.vnd", "say 1 / 0");
    rx_extra_functions.push_back({"NEST", nest});
    testing::internal::CaptureStdout();
    run(script("outer.vnd", "signal on syntax; exit 'code' nest()\nsyntax: exit 'trapped'"));
    std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, "code 51");
    EXPECT_NE(output.find("Error 51 on line 1"), std::string::npos) << output;
}

TEST(command_line, the_first_word_is_the_script) {
    auto split = [](std::string_view line) {
        rx_split_line parts = rx_split_command(line);
        return parts.script + "|" + std::string(parts.rest);
    };
    EXPECT_EQ(split("\"my script\" a  b"), "my script|a  b");
    EXPECT_EQ(split("x.vnd  'a' \"b"), "x.vnd|'a' \"b");
    EXPECT_EQ(split("'it \"is' y"), "it \"is|y");
    EXPECT_EQ(split("a\\\"b c"), "a\"b|c");
    EXPECT_EQ(split("a\\\\b"), "a\\b|");
    EXPECT_EQ(split("ab'cd e' f"), "ab|'cd e' f");
    EXPECT_EQ(split("\""), "\"|");
    EXPECT_EQ(split("x"), "x|");
}

} // namespace
