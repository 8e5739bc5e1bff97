#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <exception>

namespace gateway::shell {

/// A summary of setup that could not be kept as a document. Thrown; a plain record.
class SetupSummaryPDFExportError : public std::exception
{
public:
    enum class Kind
    {
        pdfGenerationFailed,
        notWritten ///< the document is there, its place isn't
    };

    /// \param reason  the system's words, with `notWritten` alone.
    explicit SetupSummaryPDFExportError(Kind kind, QString reason = {});

    const char *what() const noexcept override { return "the summary of setup was not exported"; }

    /// A sentence for people.
    QString description() const;

private:
    Kind m_kind;
    QString m_reason;
};

/// The text as pages of 595 by 842 points in the fixed-width font of size 11, which wraps in a column of 547
/// points and goes on on further pages.
///
/// Thread: main. \throws SetupSummaryPDFExportError
QByteArray setupSummaryPdf(const QString &text);

/// Writes these pages to a file, whole or not at all. \throws SetupSummaryPDFExportError
void writeSetupSummary(const QString &path, const QString &text);

} // namespace gateway::shell
