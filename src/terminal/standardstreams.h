// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * Opens those of the descriptors 0 to 2 that are closed on /dev/null, so that
 * no file of the program's takes their place. The first thing that main() does.
 */
void openStandardDescriptors();

/**
 * Makes standard output and standard error never wait for whoever reads them,
 * and never end the program when nobody does: lines that cannot be written are
 * dropped, and the next one that can is preceded by a line that says how many.
 * Standard output is then written line by line, also into a pipe. On a terminal
 * control characters are made visible.
 *
 * This holds for all that goes through the streams of C and of C++, also from
 * within libraries. To be called once, before anything is written.
 */
void neverWaitForReaders();
