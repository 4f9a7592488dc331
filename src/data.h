// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

/**
 * @file
 * The directories of the running process, empty until InitData has found
 * them. They are joined by plain concatenation: ".." stays in the texts.
 */

/** Working directory at the first InitData call; non-empty once the search is done. */
extern QString CurWD;
/** Base directory of the installation: CurWD with one to three "/.." behind it. */
extern QString BaseWD;
/** Directory of the definition and test data files: BaseWD + "/Config". */
extern QString ConfigWD;
/** Directory of the DB library: BaseWD + "/Libs". */
extern QString DLLWD;

/** Becomes 1 when `main` is about to return: a flag for an allocation report at shutdown. */
extern int SetWAllocOutput;
