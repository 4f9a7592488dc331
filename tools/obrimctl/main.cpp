// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "program.h"
#include "standardstreams.h"
#include "translation.h"

int main(int argc, char *argv[])
{
    openStandardDescriptors();
    setLanguage();
    setLetters();
    return runProgram(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
