// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Calls that do not come back as they should.
#include "foreigncall.h"
#include "capturedoutput.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <stdexcept>
#include <string>

namespace
{
/** What `attempt` says when the function does `call`; the result must be none. */
template <class Call> std::string said(Call call)
{
    const CapturedOutput err(stderr);
    EXPECT_FALSE(attempt("Function", call));
    return err.text();
}

[[noreturn]] void *endThread(void *result)
{
    pthread_exit(result);
}

/** Takes away the thread that it runs in, as no handler may prevent. */
int cancelSelf()
{
    pthread_cancel(pthread_self());
    pthread_testcancel();
    return 0;
}

int place;
} // namespace

TEST(ForeignCall, AResultComesBack)
{
    EXPECT_EQ(attempt("Function", [] { return 7; }), 7);
}

TEST(ForeignCall, AnExceptionIsToldWithTheFunctionAndIsNoResult)
{
    EXPECT_EQ(said([]() -> int { throw std::runtime_error("gone"); }), "Function threw an exception: gone\n");
    EXPECT_EQ(said([]() -> int { throw 42; }), "Function threw an exception\n");
}

TEST(ForeignCall, WhatWasThrownIsThereAsAText)
{
    const auto text = [](auto call) {
        try {
            const ForeignCall guard;
            call();
        } catch (...) {
            return exceptionText("Function");
        }
        return std::string();
    };
    EXPECT_EQ(text([] { throw std::runtime_error("gone"); }), "Function threw an exception: gone");
    EXPECT_EQ(text([] { throw 42; }), "Function threw an exception");
    EXPECT_EQ(text([] { endThread(nullptr); }), "Function called pthread_exit");
}

TEST(ForeignCall, TheThreadGoesOnAfterPthreadExit)
{
    EXPECT_EQ(said([]() -> int { endThread(nullptr); }), "Function called pthread_exit\n");
    EXPECT_EQ(said([]() -> int { endThread(nullptr); }), "Function called pthread_exit\n") << "again";
}

TEST(ForeignCall, ALibraryThatCatchesWhatIsThrownInsteadGoesOnItself)
{
    EXPECT_EQ(attempt("Function",
                      []() -> int {
                          try {
                              endThread(nullptr);
                          } catch (const std::exception &thrown) {
                              return std::string(thrown.what()).rfind("pthread_exit was called", 0) == 0;
                          }
                      }),
              1);
}

TEST(ForeignCall, AThreadOfTheLibrarysOwnEndsAsEver)
{
    void *result = nullptr;
    const auto ended = attempt("Function", [&] {
        pthread_t thread;
        pthread_create(&thread, nullptr, endThread, &place);
        return pthread_join(thread, &result);
    });
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(result, &place);
}

TEST(ForeignCall, AfterTheCallPthreadExitIsTheSystemsAgain)
{
    pthread_t thread;
    void *result = nullptr;
    const auto run = [](void *argument) -> void * {
        attempt("Function", [] { return 0; });
        endThread(argument);
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &place), 0);
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &place);
}

TEST(ForeignCallDeathTest, ACancelledThreadEndsTheProgramWithTheReason)
{
    EXPECT_DEATH(attempt("Function", cancelSelf), "Function cancelled the thread that called it: the program ends");
}

TEST(ForeignCallDeathTest, WhereNothingMayBeThrownTheReasonIsNamed)
{
    EXPECT_DEATH(attempt("Function", []() noexcept -> int { endThread(nullptr); }), "pthread_exit was called");
}
