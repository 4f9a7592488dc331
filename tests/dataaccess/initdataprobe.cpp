// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs InitData in this process's working directory, then in each directory
// given, and prints what the process knows afterwards. With "box" as first
// argument messages are shown by a hook that prints them.
#include "DBFuns.h"
#include "LoadDLL.h"
#include "data.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstring>

namespace
{
void printBox(QDialog *parent, const QString &caption, const QString &text)
{
    std::printf("box %s|%s|%s\n", parent ? "parent" : "no parent", qPrintable(caption), qPrintable(text));
}

void run()
{
    const int result = InitData();
    std::printf("InitData=%d\nCurWD=%s\nBaseWD=%s\nConfigWD=%s\nDLLWD=%s\nlibrary=%d\n", result,
                QFile::encodeName(CurWD).constData(), QFile::encodeName(BaseWD).constData(),
                QFile::encodeName(ConfigWD).constData(), QFile::encodeName(DLLWD).constData(), FDBGetEvents != nullptr);
}
} // namespace

int main(int argc, char **argv)
{
    int next = 1;
    if (argc > 1 && std::strcmp(argv[1], "box") == 0) {
        setInformationBox(printBox);
        ++next;
    }
    if (CurWD.isNull() || !CurWD.isEmpty() || !BaseWD.isEmpty() || !ConfigWD.isEmpty() || !DLLWD.isEmpty() ||
        SetWAllocOutput != 0)
        std::puts("not empty at the start");
    run();
    for (; next < argc; ++next) {
        QDir::setCurrent(QFile::decodeName(argv[next]));
        run();
    }
    return 0;
}
