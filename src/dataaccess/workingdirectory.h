// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>

/** The working directory; empty, which is reported, when there is none that could be used. */
QByteArray workingDirectory();
