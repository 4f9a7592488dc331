// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "LoadDLL.h"
#include "capturedoutput.h"
#include "contractlibraries.h"
#include "data.h"
#include "dbsymbols.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QFile>
#include <QString>

#include <cstdio>

/** What the tests of loader and data access do alike. */
namespace LibraryFixture
{
/** As at the start of the process: no function found, no directory known. */
inline void forgetLibrary()
{
    FDBGetSensors = nullptr;
    FInitDBSensors = nullptr;
    FDBGetEvents = nullptr;
    FInitDBEvents = nullptr;
    FDBGetCommands = nullptr;
    FInitDBCommands = nullptr;
    FDBPutCommand = nullptr;
    FDBPutEvent = nullptr;
    FDBDeleteCommand = nullptr;
    FDBDeleteEvent = nullptr;
    ConfigWD = QString();
}

/** The ten pointers as '1' (set) and '0' (NULL), in the order of DBSymbols. */
inline QByteArray pointersSet()
{
    const bool set[DBFunctionCount] = {FDBGetSensors != nullptr, FInitDBSensors != nullptr, FDBGetEvents != nullptr,
                                       FInitDBEvents != nullptr, FDBGetCommands != nullptr, FInitDBCommands != nullptr,
                                       FDBPutCommand != nullptr, FDBPutEvent != nullptr,    FDBDeleteCommand != nullptr,
                                       FDBDeleteEvent != nullptr};
    QByteArray text;
    for (bool is : set)
        text.append(is ? '1' : '0');
    return text;
}

inline QString libraryFolder(const QString &name)
{
    return QFile::decodeName(ContractLibraries) + QLatin1Char('/') + name;
}

/** What a call did besides its result. */
struct Output {
    QByteArray out;
    QByteArray err;
};

template <class Call> Output captured(Call call)
{
    const CapturedOutput out(stdout);
    const CapturedOutput err(stderr);
    call();
    return {QByteArray::fromStdString(out.text()), QByteArray::fromStdString(err.text())};
}

inline void write(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        qFatal("%s cannot be written", qPrintable(path));
}

inline QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace LibraryFixture
