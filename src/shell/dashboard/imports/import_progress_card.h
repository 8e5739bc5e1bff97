#pragma once

#include "shell/controls/card.h"
#include "shell/theme/tokens.h"

#include <QtCore/QStringList>
#include <QtCore/QTimer>

#include <vector>

namespace gateway::receive {
class StoreManualImportService;
} // namespace gateway::receive

namespace gateway::shell {

class ProgressRow;

/// Imports, whoever began them: how far each is, a way to stop it, and at last what was passed
/// over and why. Not there while there is none.
///
/// Owner: OverviewPage. Thread: main.
class ImportProgressCard : public Card
{
    Q_OBJECT

public:
    /// \param imports  outlives this.
    ImportProgressCard(const Theme &theme,
                       receive::StoreManualImportService &imports,
                       QWidget *parent = nullptr);

    /// Shows this batch from now on. Those that ended before go.
    void follow(const QString &batch);

    /// Shows how far each batch is now; done by itself while it can be seen.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    struct Batch
    {
        QString id;
        QWidget *row = nullptr;
        ProgressRow *progress = nullptr; ///< null once the batch has ended
    };

    void add(const QString &id);
    void refresh(Batch &batch);
    void conclude(Batch &batch, const QString &outcome, Color color, const QStringList &skipped);
    void remove(const QString &id);
    void removeEnded();
    void settle();

    const Theme &m_theme;
    receive::StoreManualImportService &m_imports;
    QVBoxLayout *m_rows;
    std::vector<Batch> m_batches;
    QTimer m_timer; // runs while something does that can be seen
};

} // namespace gateway::shell
