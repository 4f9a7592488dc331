// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <KMainWindow>

/** A main window of a restored session, with a panel in its middle. Deletes itself when it is closed. */
class obrim : public KMainWindow
{
    Q_OBJECT

public:
    obrim();
};
