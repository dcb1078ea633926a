#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

/// Runs statement in a new process, where none of the decisions that the library takes once a process has
/// been taken, and expects exactly this text on its standard error.
#define EXPECT_FRESH_STDERR(statement, text)                                                                 \
    do {                                                                                                     \
        GTEST_FLAG_SET(death_test_style, "threadsafe");                                                      \
        EXPECT_EXIT(                                                                                         \
            {                                                                                                \
                statement;                                                                                   \
                std::fflush(nullptr);                                                                        \
                std::_Exit(0);                                                                               \
            },                                                                                               \
            testing::ExitedWithCode(0), testing::Matcher<const std::string&>(std::string(text)));            \
    } while (false)
