// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "obrim.h"

#include "DBFuns.h"
#include "obrimwidget.h"

obrim::obrim()
    : KMainWindow(nullptr, Qt::Window)
{
    setObjectName(QStringLiteral("obrim"));
    setAttribute(Qt::WA_DeleteOnClose);
    InitData();
    setCentralWidget(new obrimWidget(this));
}
