#pragma once

#include "shell/dashboard/cards/dashboard_parts.h"

#include <QtWidgets/QScrollArea>

#include <memory>

class QGridLayout;

namespace gateway::receive {
class StoreManualImportService;
}

namespace gateway::shell {

class Canvas;
class DimseImportCard;
class FlowBand;
class ImportProgressCard;
class ListenerCard;
class SentItemsCard;
class StatusCard;
class TransferTrendCard;

/// The overview: what comes in on the left, what goes to the cloud on the right, arrows between while images
/// move, and how much moved lately below. Where there is no room for two columns there is one.
///
/// Owner: DashboardView. Thread: main.
class OverviewPage : public QScrollArea
{
    Q_OBJECT

public:
    explicit OverviewPage(const DashboardParts &parts, QWidget *parent = nullptr);

    /// How far the cards stay away from either edge.
    void setSideMargin(int margin);

    /// Lets the operator choose files and folders, and shows their import.
    void manualUpload();

    /// What waited for the sign-in sheet is told that it is gone.
    void signInSheetClosed();

    bool hasTwoColumns() const { return m_hasTwoColumns; }

    ListenerCard &listener() { return *m_listener; }
    StatusCard &status() { return *m_status; }
    DimseImportCard &received() { return *m_received; }
    SentItemsCard &sent() { return *m_sent; }
    ImportProgressCard &imports() { return *m_imports; }
    TransferTrendCard &trend() { return *m_trend; }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void viewLogsRequested();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void arrange();
    void place(bool twoColumns);
    void followReadingOrder();
    int leastColumnWidth() const;

    const Theme &m_theme;
    receive::StoreManualImportService &m_importService;
    Canvas *m_ground;
    QGridLayout *m_grid;
    ListenerCard *m_listener;
    StatusCard *m_status;
    FlowBand *m_incoming;
    FlowBand *m_outgoing;
    DimseImportCard *m_received;
    SentItemsCard *m_sent;
    ImportProgressCard *m_imports;
    std::shared_ptr<void> m_batches; // told of as long as this is kept
    TransferTrendCard *m_trend;
    int m_sideMargin = 0;
    bool m_hasTwoColumns = false;
};

} // namespace gateway::shell
