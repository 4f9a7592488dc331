// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

int in_no_library_at_all(int);

/** Never called, so that only a loader that resolves everything at once notices. */
__attribute__((visibility("default"))) int UseWhatIsMissing(int value)
{
    return in_no_library_at_all(value);
}
