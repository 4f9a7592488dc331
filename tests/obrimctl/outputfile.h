// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "output.h"

#include <cstdio>
#include <string>
#include <unistd.h>

/** Takes what is written to an Output. */
class OutputFile
{
public:
    /** Calls `write` with an Output that is a file, and returns what it wrote, also before it threw. */
    template <class Write> std::string textOf(Write write)
    {
        std::FILE *file = std::tmpfile();
        std::fflush(stdout);
        const int before = dup(STDOUT_FILENO);
        dup2(fileno(file), STDOUT_FILENO);
        try {
            Output output;
            write(output);
            output.flush();
        } catch (...) {
            dup2(before, STDOUT_FILENO);
            close(before);
            std::fclose(file);
            throw;
        }
        dup2(before, STDOUT_FILENO);
        close(before);
        std::string text(std::size_t(ftell64(file)), '\0');
        std::rewind(file);
        text.resize(std::fread(text.data(), 1, text.size(), file));
        std::fclose(file);
        return text;
    }

private:
    static long ftell64(std::FILE *file)
    {
        std::fseek(file, 0, SEEK_END);
        return std::ftell(file);
    }
};
