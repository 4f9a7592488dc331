// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "accelerators.h"

#include <KConfigGroup>
#include <KSharedConfig>

void keepAccelerators()
{
    // KXmlGui reads this when the event loop starts, and would go over every window that gets the focus.
    const KSharedConfig::Ptr config = KSharedConfig::openConfig();
    KConfigGroup(config, "Development").writeEntry("AutoCheckAccelerators", false);
    config->markAsClean();
}
