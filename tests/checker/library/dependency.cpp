// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

int inNoLibraryAtAll(int);

/** Never called, so that only a loader that resolves everything at once notices. */
__attribute__((visibility("default"))) int useWhatIsMissing(int value)
{
    return inNoLibraryAtAll(value);
}
