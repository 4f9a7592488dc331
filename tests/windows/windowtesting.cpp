// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "windowtesting.h"

#include "menuclick.h"

#include <QAbstractButton>
#include <QMetaMethod>

namespace
{
const QString PollName = QStringLiteral("waiting");
QStringList lines;
QStringList traceLines;

void take(QtMsgType, const QMessageLogContext &, const QString &text)
{
    if (text.startsWith(QLatin1String("CWD_EventsList::onSetTimeFrom:i=")))
        traceLines << text;
    // What the offscreen platform cannot do is no fault of the windows.
    else if (!text.startsWith(QLatin1String("This plugin does not support ")))
        lines << text;
}

template <class Widget> Widget *visible()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *found = qobject_cast<Widget *>(widget);
        if (found && found->isVisible())
            return found;
    }
    return nullptr;
}
} // namespace

MessageWatch::MessageWatch()
{
    lines.clear();
    traceLines.clear();
    m_before = qInstallMessageHandler(take);
}

MessageWatch::~MessageWatch()
{
    qInstallMessageHandler(m_before);
}

QStringList MessageWatch::unexpected()
{
    return lines;
}

QStringList MessageWatch::traces()
{
    return traceLines;
}

void when(const std::function<bool()> &ready, const std::function<void()> &act)
{
    auto *poll = new QTimer(qApp);
    poll->setObjectName(PollName);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, ready, act] {
        if (!ready())
            return;
        poll->stop();
        poll->setObjectName(QString());
        poll->deleteLater();
        act();
    });
    poll->start(1);
}

int forgetWaiting()
{
    const auto waiting = qApp->findChildren<QTimer *>(PollName);
    qDeleteAll(waiting);
    return int(waiting.size());
}

QMessageBox *openBox()
{
    return visible<QMessageBox>();
}

QMenu *openMenu()
{
    return visible<QMenu>();
}

int openBoxes()
{
    int count = 0;
    for (QWidget *widget : QApplication::topLevelWidgets())
        count += qobject_cast<QMessageBox *>(widget) && widget->isVisible();
    return count;
}

void answerBox(QMessageBox::StandardButton button, QString *text)
{
    when([] { return openBox() != nullptr; },
         [button, text] {
             if (text)
                 *text = openBox()->text();
             QTest::mouseClick(openBox()->button(button), Qt::LeftButton);
         });
}

QPushButton *buttonOf(const QMessageBox *box, const QString &text)
{
    for (auto *button : box->findChildren<QPushButton *>())
        if (button->text() == text)
            return button;
    return nullptr;
}

void pressInBox(const QString &button)
{
    when([] { return openBox() != nullptr; },
         [button] { QTest::mouseClick(buttonOf(openBox(), button), Qt::LeftButton); });
}

void onMenu(const std::function<void(QMenu *)> &act)
{
    when([] { return openMenu() != nullptr; }, [act] { act(openMenu()); });
}

QAction *entryOf(const QMenu *menu, const QString &text)
{
    for (QAction *entry : menu->actions())
        if (entry->text() == text)
            return entry;
    return nullptr;
}

void clickEntry(QMenu *menu, const QString &text)
{
    QAction *entry = entryOf(menu, text);
    if (!entry)
        qFatal("no such entry: %s", qPrintable(text));
    clickMenuEntry(menu, entry);
}

void chooseFromMenu(const QString &text)
{
    onMenu([text](QMenu *menu) { clickEntry(menu, text); });
}

QStringList entryTexts(const QMenu *menu)
{
    QStringList texts;
    for (const QAction *entry : menu->actions())
        texts << (entry->isSeparator() ? QStringLiteral("-") : entry->text());
    return texts;
}

QStringList columnTexts(const ListView *list, int column)
{
    QStringList texts;
    for (int row = 0; row < list->childCount(); ++row)
        texts << list->itemAt(row)->text(column);
    return texts;
}

QStringList rowTexts(const ListView *list, int row)
{
    QStringList texts;
    for (int column = 0; column < list->columns(); ++column)
        texts << list->itemAt(row)->text(column);
    return texts;
}

QList<int> columnWidths(const ListView *list)
{
    QList<int> widths;
    for (int column = 0; column < list->columns(); ++column)
        widths << list->columnWidth(column);
    return widths;
}

void rightClick(ListView *list, int row)
{
    const QModelIndex index = row < 0 ? QModelIndex() : list->model()->index(row, 0);
    const QRect cell = index.isValid() ? list->visualRect(index) : QRect();
    const QPoint place = index.isValid() ? cell.center() : list->viewport()->rect().bottomRight() - QPoint(2, 2);
    QTest::mouseClick(list->viewport(), Qt::RightButton, {}, place);
}

QStringList ownSlots(const QMetaObject &meta)
{
    QStringList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            names << QString::fromLatin1(meta.method(i).methodSignature());
    return names;
}

PaintCounter::PaintCounter(QObject *watched)
{
    watched->installEventFilter(this);
}

bool PaintCounter::eventFilter(QObject *, QEvent *event)
{
    paints += event->type() == QEvent::Paint;
    return false;
}

bool showAndWait(QWidget *window)
{
    window->show();
    return waitForExposed(window);
}

bool closeAndWait(QWidget *window)
{
    const QPointer<QWidget> gone(window);
    window->close();
    return waitFor([&gone] { return !gone; });
}
