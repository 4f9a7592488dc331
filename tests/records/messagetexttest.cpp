// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordmaking.h"
#include "recordtext.h"

#include <QLocale>
#include <QTest>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>

class TestMessageText : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void integerIsShownInDecimal();
    void doubleIsShownInTheShortestForm_data();
    void doubleIsShownInTheShortestForm();
    void numbersFollowNoLocale();
    void textIsShownAsItStands();
    void textIsLatin1();
    void textWithoutANulIsShownUpToItsLength();
    void textEndsAtItsNul();
    void textWithoutALengthEndsAtItsNul();
    void numberWithoutALengthIsRead();
    void unknownTypeIsShownAsEmpty();
    void nullValueIsShownAsEmpty();
    void nullRecordIsShownAsNull();
    void valueShorterThanItsTypeIsShownAsEmpty_data();
    void valueShorterThanItsTypeIsShownAsEmpty();
    void valueLongerThanItsTypeIsShown();
    void recordWithoutParametersHasNoText();
    void twoParametersAreJoinedByASemicolon();
    void parameterWithNullNameShowsNull();
    void parameterOfTypeFourShowsNameAndEqualsSignOnly();
    void parameterFilledByHandIsShownWhole();
    void nameIsNotReadPastItsLength();
    void parNumWithoutParIsEmpty();
    void parWithoutParNumIsEmpty();
    void commandShowsItsParametersLikeAnEvent();
    void recordTextOfNullIsEmpty();
    void recordTextWithoutALengthEndsAtItsNul();
};

namespace
{
QString shown(double number)
{
    CMessageEventParam param;
    setValue(param, ParameterDouble, number);
    return param.toString();
}
} // namespace

void TestMessageText::initTestCase()
{
    // Where a German locale is installed, both the toolkit and the C library write 0,5.
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");
}

void TestMessageText::integerIsShownInDecimal()
{
    CMessageEventParam param;
    for (const int number : {0, 5, -17, 1234567, INT_MAX, INT_MIN}) {
        setValue(param, ParameterInteger, number);
        QCOMPARE(param.toString().toLatin1(), QByteArray(std::to_string(number).c_str()));
    }
}

void TestMessageText::doubleIsShownInTheShortestForm_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("0.5") << 0.5 << "0.5";
    QTest::newRow("1e20") << 1e20 << "1e+20";
    QTest::newRow("0") << 0.0 << "0";
    QTest::newRow("-2.25") << -2.25 << "-2.25";
    QTest::newRow("1e-05") << 1e-5 << "1e-05";
    QTest::newRow("0.0001") << 1e-4 << "0.0001";
    QTest::newRow("six digits") << 3.14159265358979 << "3.14159";
    QTest::newRow("no trailing zeros") << 100000.0 << "100000";
    QTest::newRow("seven digits") << 1000000.0 << "1e+06";
    QTest::newRow("three exponent digits") << 1e-300 << "1e-300";
    QTest::newRow("negative zero") << -0.0 << "-0";
    QTest::newRow("negative infinite") << -std::numeric_limits<double>::infinity() << "-inf";
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << "inf";
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << "nan";
    QTest::newRow("negative and not a number")
        << std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0) << "-nan";
}

void TestMessageText::doubleIsShownInTheShortestForm()
{
    QFETCH(double, number);
    QFETCH(QString, text);
    QCOMPARE(shown(number), text);
}

void TestMessageText::numbersFollowNoLocale()
{
    QCOMPARE(QLocale().toString(0.5), QString("0,5"));
    QCOMPARE(shown(0.5), QString("0.5"));
    CMessageEventParam param;
    setValue(param, ParameterInteger, 1234567);
    QCOMPARE(param.toString(), QString("1234567"));
}

void TestMessageText::textIsShownAsItStands()
{
    CMessageEventParam param;
    setTextValue(param, "<b>a & b;c=d\n%d</b>");
    QCOMPARE(param.toString(), QString("<b>a & b;c=d\n%d</b>"));
}

void TestMessageText::textIsLatin1()
{
    CMessageEventParam param;
    setTextValue(param, "\xB5V \xE4");
    QCOMPARE(param.toString(), QString::fromUtf16(u"\u00B5V \u00E4"));
    QCOMPARE(param.toString().toLatin1(), QByteArray("\xB5V \xE4"));
}

void TestMessageText::textWithoutANulIsShownUpToItsLength()
{
    CMessageEventParam param;
    param.Type = ParameterText;
    CopyPtr(&param.Val, &param.LVal, "abcdef", 3);
    QCOMPARE(param.toString(), QString("abc"));
}

void TestMessageText::textEndsAtItsNul()
{
    CMessageEventParam param;
    param.Type = ParameterText;
    CopyPtr(&param.Val, &param.LVal, "abc\0def", 7);
    QCOMPARE(param.toString(), QString("abc"));
}

void TestMessageText::textWithoutALengthEndsAtItsNul()
{
    CMessageEventParam param;
    setTextValue(param, "abc");
    for (const int length : {0, -1, INT_MIN}) {
        param.LVal = length;
        QCOMPARE(param.toString(), QString("abc"));
    }
}

void TestMessageText::numberWithoutALengthIsRead()
{
    CMessageEventParam param;
    setValue(param, ParameterInteger, -17);
    for (const int length : {0, -1, INT_MIN}) {
        param.LVal = length;
        QCOMPARE(param.toString(), QString("-17"));
    }
    setValue(param, ParameterDouble, 0.5);
    for (const int length : {0, -1, INT_MIN}) {
        param.LVal = length;
        QCOMPARE(param.toString(), QString("0.5"));
    }
}

void TestMessageText::unknownTypeIsShownAsEmpty()
{
    CMessageEventParam param;
    setTextValue(param, "abcdefgh");
    for (const int type : {0, 4, -1, INT_MAX, INT_MIN}) {
        param.Type = type;
        QCOMPARE(param.toString(), QString());
    }
}

void TestMessageText::nullValueIsShownAsEmpty()
{
    CMessageEventParam param;
    param.LVal = 8;
    for (int type = 0; type < 5; ++type) {
        param.Type = type;
        QCOMPARE(param.toString(), QString());
    }
    param.LVal = 0;
}

void TestMessageText::nullRecordIsShownAsNull()
{
    QCOMPARE(CMessageEventParam::toString(nullptr), QString("(null)"));
    CMessageEventParam param;
    setTextValue(param, "abc");
    QCOMPARE(CMessageEventParam::toString(&param), QString("abc"));
}

void TestMessageText::valueShorterThanItsTypeIsShownAsEmpty_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("length");
    for (const int length : {3, 1}) {
        QTest::addRow("integer of %d bytes", length) << int(ParameterInteger) << length;
        QTest::addRow("double of %d bytes", length) << int(ParameterDouble) << length;
    }
    QTest::addRow("double of 7 bytes") << int(ParameterDouble) << 7;
}

void TestMessageText::valueShorterThanItsTypeIsShownAsEmpty()
{
    QFETCH(int, type);
    QFETCH(int, length);
    CMessageEventParam param;
    param.Type = type;
    param.Val = new char[std::size_t(length)]();
    param.LVal = length;
    QCOMPARE(param.toString(), QString());
}

void TestMessageText::valueLongerThanItsTypeIsShown()
{
    CMessageEventParam param;
    param.Type = ParameterInteger;
    CopyPtr(&param.Val, &param.LVal, "\0\0\0\0garbage", 11);
    QCOMPARE(param.toString(), QString("0"));
    param.Type = ParameterDouble;
    CopyPtr(&param.Val, &param.LVal, "\0\0\0\0\0\0\0\0garbage", 15);
    QCOMPARE(param.toString(), QString("0"));
}

void TestMessageText::recordWithoutParametersHasNoText()
{
    QCOMPARE(CMessageEvent().AllParameters(), QString());
    QCOMPARE(CMessageCommand().AllParameters(), QString());
}

void TestMessageText::twoParametersAreJoinedByASemicolon()
{
    QCOMPARE(makeEvent().AllParameters(), QString("level=5;unit=mV"));
}

void TestMessageText::parameterWithNullNameShowsNull()
{
    CMessageEvent event;
    setParameters(event, 3);
    setTextValue(event.par[0], "a");
    QCOMPARE(event.AllParameters(), QString("(NULL)=a;(NULL)=;(NULL)="));
}

void TestMessageText::parameterOfTypeFourShowsNameAndEqualsSignOnly()
{
    CMessageEvent event = makeEvent();
    event.par[0].Type = 4;
    QCOMPARE(event.AllParameters(), QString("level=;unit=mV"));
}

void TestMessageText::parameterFilledByHandIsShownWhole()
{
    char name[] = "level";
    int value = 5;
    CMessageEventParam param;
    param.Name = name;
    param.Type = ParameterInteger;
    param.Val = reinterpret_cast<char *>(&value);
    CMessageEvent event;
    event.par = &param;
    event.ParNum = 1;
    QCOMPARE(event.AllParameters(), QString("level=5"));
    // What has no length does not travel: nobody knows how far it may be read.
    QCOMPARE(CMessageEvent(event).AllParameters(), QString("(NULL)="));
    event.par = nullptr;
    param.Name = param.Val = nullptr;
}

void TestMessageText::nameIsNotReadPastItsLength()
{
    CMessageEvent event = makeEvent();
    CopyPtr(&event.par[0].Name, &event.par[0].LName, "level", 5);
    QCOMPARE(event.AllParameters(), QString("level=5;unit=mV"));
    event.par[0].LName = 3;
    event.par[1].LName = -1;
    QCOMPARE(event.AllParameters(), QString("lev=5;unit=mV"));
}

void TestMessageText::parNumWithoutParIsEmpty()
{
    CMessageEvent event;
    event.ParNum = 3;
    QCOMPARE(event.AllParameters(), QString());
}

void TestMessageText::parWithoutParNumIsEmpty()
{
    CMessageEvent event = makeEvent();
    for (const int count : {0, -1, INT_MIN}) {
        event.ParNum = count;
        QCOMPARE(event.AllParameters(), QString());
    }
}

void TestMessageText::commandShowsItsParametersLikeAnEvent()
{
    QCOMPARE(makeCommand().AllParameters(), QString("delay=0.5"));
}

void TestMessageText::recordTextOfNullIsEmpty()
{
    for (const int length : {10, 0, -1, INT_MIN})
        QCOMPARE(recordText(nullptr, length), QString());
}

void TestMessageText::recordTextWithoutALengthEndsAtItsNul()
{
    QCOMPARE(recordText("abc", 0), QString("abc"));
    QCOMPARE(recordText("abc", INT_MIN), QString("abc"));
    QCOMPARE(recordText("abc", 4), QString("abc"));
    QCOMPARE(recordText("abc", 2), QString("ab"));
}

QTEST_GUILESS_MAIN(TestMessageText)
#include "messagetexttest.moc"
