// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SensorsList.h"
#include "listwindow.h"

struct CSensor;

/**
 * The window that lists the sensors, opens the lists of one sensor's events
 * and commands, and sends a sensor orders. It deletes itself when it is closed.
 */
class CWD_SensorsList : public ListWindow<Form1>
{
    Q_OBJECT

public:
    /**
     * `name` is the object's name. A failing load shows its box here already.
     * When `parent` dies under such a box, so has this window, and its creator
     * must not touch it.
     */
    CWD_SensorsList(QWidget *parent, const char *name);
    ~CWD_SensorsList() override;

    /** Fetches the sensors anew. The column widths stay. */
    void ResetData();

    /** Does nothing. */
    virtual void Form1_destroyed(QObject *) {}

    int NSensors = 0;          ///< records in Sensor
    CSensor *Sensor = nullptr; ///< the records, owned, NULL when there are none; the rows refer to them
    QMenu *Menu0 = nullptr;    ///< "&Menu"

public slots:
    /** Does nothing. */
    virtual void onClose() {}
    /** Has the source read its sensors again, then fetches them. */
    virtual void FUpdateData();
    void onRBList(QListViewItem *item, const QPoint &pt, int ip) override;
    /** Does nothing: the program never sizes this window, its user does. */
    virtual void resize(int, int) {}

protected slots:
    void CallEventsDialog();
    void CallCommandsDialog();
    void FStart();
    void FStop();
    void FKill();
    void FRestart();
    void FSetVisibilityC0()
    {
        SetColumnsVisibiliy(0, -1);
    }
    void FSetVisibilityC1()
    {
        SetColumnsVisibiliy(1, -1);
    }
    void FSetVisibilityC2()
    {
        SetColumnsVisibiliy(2, -1);
    }

protected:
    QStringList columnNames() override;
    void languageChange() override;

private:
    void createMenus();
    void releaseSensors();
    void reload(const QPointer<QObject> &self, LoadGuard &load);
    template <class Window> void openList(QString (*title)(const QString &));
    void sendCommand(int type);

    LastLoad m_lastLoad;
};
