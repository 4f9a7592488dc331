// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "foreigncall.h"

#include "visibletext.h"

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <exception>
#include <pthread.h>

namespace
{
thread_local int foreignCalls = 0;

/** Stands in for `pthread_exit`. Where no handler is reached, it is named as the reason why the program ends. */
struct ThreadEnd : std::exception {
    const char *what() const noexcept override
    {
        return "pthread_exit was called, which would have ended the program";
    }
};
} // namespace

/** The program's own, which a library finds before the C library's. */
extern "C" __attribute__((visibility("default"))) void pthread_exit(void *result)
{
    if (foreignCalls > 0)
        throw ThreadEnd();
    reinterpret_cast<decltype(&pthread_exit)>(dlsym(RTLD_NEXT, "pthread_exit"))(result);
    std::abort(); // GCOVR_EXCL_LINE: it does not return
}

ForeignCall::ForeignCall()
{
    ++foreignCalls;
}

ForeignCall::~ForeignCall()
{
    --foreignCalls;
}

namespace
{
/**
 * Says what the function has thrown in two parts, the second of which is the exception's own. The runtime gives the
 * handler of a forced unwinding a reference to nothing: inlined, that would be checked again.
 */
template <class Say> __attribute__((noinline, no_sanitize("null"))) void sayThrown(const char *function, Say say)
{
    try {
        throw;
    } catch (const ThreadEnd &) { // GCOVR_EXCL_BR_LINE: one branch ends the program
        say(" called pthread_exit", "");
    } catch (const std::exception &thrown) {
        say(" threw an exception: ", thrown.what());
    } catch (abi::__forced_unwind &) { // GCOVR_EXCL_START: the counters are lost
        // The thread was cancelled; the system ends the program when that is stopped, and says nothing of why.
        std::fprintf(stderr, "%s cancelled the thread that called it: the program ends\n", function);
        std::abort();
    } catch (...) { // GCOVR_EXCL_STOP
        say(" threw an exception", "");
    }
}
} // namespace

void reportException(const char *function)
{
    sayThrown(function, [&](const char *did, const char *what) {
        std::fprintf(stderr, "%s%s%s\n", function, did, visibleText(what).c_str());
    });
}

std::string exceptionText(const char *function)
{
    std::string text = function;
    sayThrown(function, [&](const char *did, const char *what) { text.append(did).append(what); });
    return text;
}
