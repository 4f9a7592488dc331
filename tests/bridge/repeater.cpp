// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Makes the calls of a recording once more, in this program's own word width:
 *
 *     repeater RECORDING LIBRARY
 *
 * With the recorder as the library that gives a recording of this width.
 */
#include "call.h"
#include "dblibrary.h"
#include "dispatch.h"
#include "recordingformat.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    DBFunctions functions;
    if (loadDBLibrary(argv[2], "", placesIn(functions), printWords) != LoadOutcome::Cxx)
        return 1;
    Calls::ByteReader reader(bytes);
    reader.take(sizeof(Recording::FileHead), "the head");
    int calls = 0;
    while (reader.left() > 0) {
        const auto head = reader.take<Recording::EntryHead>("a call's head");
        const Calls::Call call = Calls::readCall(reader.take(head.callSize, "a call"));
        reader.take(head.answerSize, "an answer");
        if (call.subject.use == Calls::Use::Release)
            continue; // part of the fetch
        answerTo(call, functions);
        ++calls;
    }
    std::printf("%d calls on %d bits\n", calls, int(sizeof(void *) * 8));
    return 0;
}
