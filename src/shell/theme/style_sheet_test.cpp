#include "shell/theme/theme.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

TEST(StyleSheet, HasABlockForEachKindOfWidgetThatQtPaints)
{
    const QString sheet = Theme().styleSheet();

    for (const char *kind :
         {"QComboBox",    "QMenu",          "QToolTip",    "QScrollBar",      "QCheckBox",
          "QRadioButton", "QTabBar",        "QSplitter",   "QCalendarWidget", "QProgressBar",
          "QLineEdit",    "QPlainTextEdit", "QHeaderView", "QTableView",      "QGroupBox",
          "QDialog",      "QPushButton",    "QToolButton", "QSlider",         "QAbstractSpinBox"}) {
        const QRegularExpression block(
            QStringLiteral("(^|[\\n,]\\s*)%1\\b[^{}]*\\{[^}]+\\}").arg(QLatin1String(kind)));
        EXPECT_TRUE(block.match(sheet).hasMatch()) << kind;
    }
}

TEST(StyleSheet, HasAValueForEachOfItsNames)
{
    EXPECT_FALSE(Theme().styleSheet().contains(u"@images"));
    EXPECT_FALSE(QRegularExpression(QStringLiteral("@[a-z]+[;. ]")).match(Theme().styleSheet()).hasMatch());
}

TEST(StyleSheet, IsUnderstoodByQt)
{
    QStringList warnings;
    static QStringList *sink = nullptr;
    sink = &warnings;
    Theme theme;

    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &message) { sink->append(message); });
    theme.applyTo(*qApp);
    QLineEdit field;
    field.ensurePolished();
    qInstallMessageHandler(before);

    EXPECT_TRUE(warnings.filter(QStringLiteral("parse")).isEmpty()) << qPrintable(warnings.join(u'\n'));
}

TEST(StyleSheet, ShowsOnlyPicturesThatTheProgramCarries)
{
    Theme theme;
    for (const Variant variant : {Variant::dark, Variant::light}) {
        theme.setVariant(variant);
        static const QRegularExpression url(QStringLiteral("url\\(([^)]+)\\)"));

        QRegularExpressionMatchIterator pictures = url.globalMatch(theme.styleSheet());

        ASSERT_TRUE(pictures.hasNext());
        while (pictures.hasNext()) {
            const QString file = pictures.next().captured(1);
            EXPECT_TRUE(QFile::exists(file)) << qPrintable(file);
        }
    }
}

TEST(StyleSheet, KeepsTheSizeOfAFieldThatGetsTheFocusRing)
{
    Theme theme;
    theme.applyTo(*qApp);
    QLineEdit field;
    QComboBox combo;
    field.ensurePolished();
    combo.ensurePolished();
    const QSize fieldAtRest = field.sizeHint();
    const QSize comboAtRest = combo.sizeHint();

    for (QWidget *widget : {static_cast<QWidget *>(&field), static_cast<QWidget *>(&combo)}) {
        widget->setProperty("showsFocus", true);
        widget->style()->unpolish(widget);
        widget->style()->polish(widget);
    }

    EXPECT_EQ(field.sizeHint(), fieldAtRest);
    EXPECT_EQ(combo.sizeHint(), comboAtRest);
    EXPECT_EQ(field.sizeHint().height(), theme.size(Size::control));
    EXPECT_EQ(combo.sizeHint().height(), theme.size(Size::control));
}

} // namespace
} // namespace gateway::shell
