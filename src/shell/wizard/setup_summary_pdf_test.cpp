#include "shell/wizard/setup_summary_pdf.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

class SummaryPdf : public ::testing::Test
{
protected:
    /// What another program makes of the document.
    QString read(const QString &program, const QStringList &arguments) const
    {
        QProcess reader;
        reader.start(program, arguments);
        EXPECT_TRUE(reader.waitForFinished(-1)) << program.toStdString();
        EXPECT_EQ(reader.exitCode(), 0) << reader.readAllStandardError().toStdString();
        return QString::fromUtf8(reader.readAllStandardOutput());
    }

    QString textOf(const QString &text)
    {
        writeSetupSummary(path, text);
        keep();
        return read(u"pdftotext"_qs, {u"-layout"_qs, path, u"-"_qs});
    }

    /// Keeps the document for whoever asks for pictures.
    void keep() const
    {
        const QString directory = qEnvironmentVariable("QUORIN_PICTURES");
        const auto *test = ::testing::UnitTest::GetInstance()->current_test_info();
        if (!directory.isEmpty()) {
            QFile::copy(path, directory + u"/summary-"_qs + QString::fromLatin1(test->name()) + u".pdf"_qs);
        }
    }

    int pages() const
    {
        static const QRegularExpression count(u"Pages:\\s+([0-9]+)"_qs);
        return count.match(read(u"pdfinfo"_qs, {path})).captured(1).toInt();
    }

    static QString squeezed(QString text) { return text.remove(QRegularExpression(u"\\s"_qs)); }

    QTemporaryDir folder;
    QString path = folder.filePath(u"summary.pdf"_qs);
};

TEST_F(SummaryPdf, HoldsTheTextOnOneA4Page)
{
    const QString text =
        u"Quorin Gateway Setup Summary\nExported At: 2026-05-04 03:02:01 UTC\n\nSettings:\n- AE "
        u"Title: GATE\n- Auto-delete: 30 day(s)\n- Incoming Folder: /srv/Größe & <Bild>"_qs;

    const QString found = textOf(text);

    EXPECT_EQ(squeezed(found), squeezed(text));
    EXPECT_EQ(found.split(u'\n').value(0).trimmed(), u"Quorin Gateway Setup Summary"_qs);
    EXPECT_EQ(pages(), 1);
    EXPECT_TRUE(read(u"pdfinfo"_qs, {path}).contains(u"595 x 842 pts"_qs));
}

TEST_F(SummaryPdf, WrapsLongLinesWithinItsColumn)
{
    const QString detail = u"[FAILED] Folder: "_qs + u"a rather long reason "_qs.repeated(20) +
                           u"/folder"_qs.repeated(60); // which has no blank to wrap at

    const QString found = textOf(detail);

    EXPECT_EQ(squeezed(found), squeezed(detail));
    EXPECT_GT(found.trimmed().count(u'\n'), 8);
    // Each word ends within the column of 547 points behind the inset of 24.
    static const QRegularExpression edge(u"xMax=\"([0-9.]+)\""_qs);
    auto words = edge.globalMatch(read(u"pdftotext"_qs, {u"-bbox"_qs, path, u"-"_qs}));
    ASSERT_TRUE(words.hasNext());
    while (words.hasNext()) {
        EXPECT_LE(words.next().captured(1).toDouble(), 24 + 547 + 0.5);
    }
}

TEST_F(SummaryPdf, GoesOnOnFurtherPages)
{
    QStringList lines;
    for (int line = 1; line <= 150; ++line) {
        lines.append(u"- Row %1: value"_qs.arg(line));
    }

    const QString found = textOf(lines.join(u'\n'));

    EXPECT_EQ(pages(), 3);
    EXPECT_EQ(squeezed(found), squeezed(lines.join(u'\n'))) << "no line twice and none lost between pages";
    // No line is cut by the edge of a page.
    static const QRegularExpression edge(u"yMax=\"([0-9.]+)\""_qs);
    auto words = edge.globalMatch(read(u"pdftotext"_qs, {u"-bbox"_qs, path, u"-"_qs}));
    while (words.hasNext()) {
        EXPECT_LE(words.next().captured(1).toDouble(), 842 - 24 + 0.5);
    }
}

TEST_F(SummaryPdf, HasLettersOfSize11OfOneWidth)
{
    textOf(u"iiii\nMMMM"_qs);

    static const QRegularExpression word(u"xMin=\"([0-9.]+)\"[^>]*xMax=\"([0-9.]+)\""_qs);
    auto words = word.globalMatch(read(u"pdftotext"_qs, {u"-bbox"_qs, path, u"-"_qs}));
    QList<double> widths;
    while (words.hasNext()) {
        const auto match = words.next();
        widths.append(match.captured(2).toDouble() - match.captured(1).toDouble());
    }
    ASSERT_EQ(widths.size(), 2);
    EXPECT_NEAR(widths[0], widths[1], 0.1);
    EXPECT_NEAR(widths[0] / 4, 11 * 0.6, 0.5) << "the usual share of the size";
}

TEST_F(SummaryPdf, TellsWhyItCouldNotBeWritten)
{
    try {
        writeSetupSummary(u"/no/such/folder/summary.pdf"_qs, u"text"_qs);
        FAIL() << "there is no such folder";
    } catch (const SetupSummaryPDFExportError &error) {
        EXPECT_FALSE(error.description().isEmpty());
    }
}

} // namespace
} // namespace gateway::shell
