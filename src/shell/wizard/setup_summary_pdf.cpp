#include "shell/wizard/setup_summary_pdf.h"

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QSaveFile>
#include <QtCore/QStringList>
#include <QtGui/QFontDatabase>
#include <QtGui/QPageLayout>
#include <QtGui/QPageSize>
#include <QtGui/QPainter>
#include <QtGui/QPdfWriter>
#include <QtGui/QTextLayout>
#include <QtGui/QTextOption>

#include <utility>

namespace gateway::shell {

namespace {

constexpr QSizeF kPage(595, 842); // points
constexpr double kInset = 24;
constexpr double kColumn = 547;
constexpr int kFontSize = 11;
constexpr int kPointsPerInch = 72; // so that a unit of the painter is a point

/// Puts lines below each other, on as many pages as they need.
class Pages
{
public:
    explicit Pages(QPdfWriter &writer) : m_writer(writer), m_isBegun(m_painter.begin(&writer)) {}

    bool isBegun() const { return m_isBegun; }

    void add(const QString &paragraph, const QFont &font)
    {
        QTextLayout layout(paragraph, font, &m_writer);
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(kColumn);
            if (m_y + line.height() > kPage.height() - kInset) {
                m_writer.newPage();
                m_y = kInset;
            }
            line.draw(&m_painter, QPointF(kInset, m_y));
            m_y += line.height();
        }
        layout.endLayout();
    }

private:
    QPdfWriter &m_writer;
    QPainter m_painter;
    const bool m_isBegun;
    double m_y = kInset;
};

QFont monospaced()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSize(kFontSize);
    return font;
}

} // namespace

SetupSummaryPDFExportError::SetupSummaryPDFExportError(Kind kind, QString reason)
    : m_kind(kind), m_reason(std::move(reason))
{
}

QString SetupSummaryPDFExportError::description() const
{
    switch (m_kind) {
    case Kind::pdfGenerationFailed:
        return QCoreApplication::translate("SetupWizard",
                                           "Could not generate PDF output for the setup summary.");
    case Kind::notWritten:
        return m_reason;
    }
    return {};
}

QByteArray setupSummaryPdf(const QString &text)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(kPointsPerInch);
    writer.setPageLayout(QPageLayout(QPageSize(kPage, QPageSize::Point, {}, QPageSize::ExactMatch),
                                     QPageLayout::Portrait,
                                     QMarginsF(),
                                     QPageLayout::Point));
    writer.setTitle(text.section(u'\n', 0, 0));
    {
        Pages pages(writer);
        if (!pages.isBegun()) {
            throw SetupSummaryPDFExportError(SetupSummaryPDFExportError::Kind::pdfGenerationFailed);
        }
        const QStringList paragraphs = text.split(u'\n');
        for (const QString &paragraph : paragraphs) {
            pages.add(paragraph, monospaced());
        }
    } // which writes the rest
    return bytes;
}

void writeSetupSummary(const QString &path, const QString &text)
{
    const QByteArray bytes = setupSummaryPdf(text);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        throw SetupSummaryPDFExportError(SetupSummaryPDFExportError::Kind::notWritten, file.errorString());
    }
}

} // namespace gateway::shell
