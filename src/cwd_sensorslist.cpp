// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "cwd_sensorslist.h"

#include "DBFuns.h"
#include "Messages.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "data.h"
#include "sensoritem.h"

#include <KLocalizedString>

static QString eventsTitle(const QString &sensor)
{
    return i18n("Events list for %1", sensor);
}

static QString commandsTitle(const QString &sensor)
{
    return i18n("Commands list for %1", sensor);
}

CWD_SensorsList::CWD_SensorsList(QWidget *parent, const char *name)
    : ListWindow(parent, name, QStringLiteral("sensors"))
{
    const QPointer<QObject> self(this);
    showAllColumns(SensorColumnCount);
    update();
    ResetData();
    if (!self)
        return;
    createMenus();
    ResizeColumns();
    finishConstruction();
}

CWD_SensorsList::~CWD_SensorsList()
{
    releaseSensors();
}

void CWD_SensorsList::createMenus()
{
    Menu0 = addMenu(tr2i18n("&Menu"));
    // Queued: a load may wait in a box in which this window dies, and the menu
    // with it, which must not be busy with the entry at that time.
    connect(Menu0->addAction(tr2i18n("Update data")), &QAction::triggered, this, &CWD_SensorsList::FUpdateData,
            Qt::QueuedConnection);
    addColumnsMenu<CWD_SensorsList>(
        {&CWD_SensorsList::FSetVisibilityC0, &CWD_SensorsList::FSetVisibilityC1, &CWD_SensorsList::FSetVisibilityC2});
}

QStringList CWD_SensorsList::columnNames()
{
    return {tr2i18n("Number"), tr2i18n("Description"), tr2i18n("Is alive")};
}

/** Releases the records, and the rows before them, which refer to them. */
void CWD_SensorsList::releaseSensors()
{
    list()->clear();
    NSensors = 0;
    delete[] Sensor;
    Sensor = nullptr;
}

void CWD_SensorsList::ResetData()
{
    load(m_lastLoad, 0, [this](const auto &self, auto &load) { reload(self, load); });
}

void CWD_SensorsList::reload(const QPointer<QObject> &self, LoadGuard &load)
{
    releaseSensors();
    load.awaitLibrary();
    // Not into the members: the window may die while a box is open.
    int count = 0;
    const int room = roomForSensors();
    CSensor *sensors = room > 0 ? new CSensor[std::size_t(room)] : nullptr;
    DBGetSensors(&count, &sensors, this);
    std::unique_ptr<CSensor[]> owned(sensors);
    if (!self || !owned || count <= 0)
        return;
    ListView::Rows rows;
    rows.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i)
        rows.push_back(std::make_unique<SensorItem>(sensors[i]));
    NSensors = count;
    Sensor = owned.release();
    list()->insertItems(std::move(rows));
}

void CWD_SensorsList::FUpdateData()
{
    if (loading())
        return;
    InitDBSensors(ConfigWD);
    ResetData();
}

void CWD_SensorsList::languageChange()
{
    ListWindow::languageChange();
    if (!Menu0)
        return;
    Menu0->setTitle(tr2i18n("&Menu"));
    relabelEntries(Menu0, {tr2i18n("Update data")});
    retitleWindows<CWD_EventsList>(this, [](const auto *window) { return eventsTitle(window->SensorNameMask); });
    retitleWindows<CWD_CommandsList>(this, [](const auto *window) { return commandsTitle(window->SensorNameMask); });
}

void CWD_SensorsList::onRBList(QListViewItem *item, const QPoint &, int)
{
    if (loading())
        return;
    itemSelected = item;
    runContextMenu(this, {
                             {tr2i18n("Events List Dialog"), [this] { CallEventsDialog(); }},
                             {tr2i18n("Commands List Dialog"), [this] { CallCommandsDialog(); }},
                             {},
                             {tr2i18n("Start"), [this] { FStart(); }},
                             {tr2i18n("Stop"), [this] { FStop(); }},
                             {tr2i18n("Restart"), [this] { FRestart(); }},
                             {tr2i18n("Kill"), [this] { FKill(); }},
                         });
}

/** Opens a list of the selected sensor's records; `title` makes its title of the sensor's name. */
template <class Window> void CWD_SensorsList::openList(QString (*title)(const QString &))
{
    if (!itemSelected)
        return;
    const QString sensor = itemSelected->text(SensorIDColumn);
    const QString caption = title(sensor);
    openTitled<Window>(this, caption.toLatin1().constData(), caption, sensor.toLatin1().constData());
}

void CWD_SensorsList::CallEventsDialog()
{
    openList<CWD_EventsList>(eventsTitle);
}

void CWD_SensorsList::CallCommandsDialog()
{
    openList<CWD_CommandsList>(commandsTitle);
}

void CWD_SensorsList::sendCommand(int type)
{
    if (!itemSelected)
        return;
    CMessageCommand command;
    command.Set(1, itemSelected->text(SensorIDColumn).toLatin1().constData(), type);
    DBPutCommand(command);
}

void CWD_SensorsList::FStart()
{
    sendCommand(CommandStart);
}

void CWD_SensorsList::FStop()
{
    sendCommand(CommandStop);
}

void CWD_SensorsList::FKill()
{
    sendCommand(CommandKill);
}

void CWD_SensorsList::FRestart()
{
    sendCommand(CommandRestart);
}
