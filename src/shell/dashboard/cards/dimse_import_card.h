#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/controls/card.h"

#include <QCoro/QCoroTask>

#include <QtCore/QList>
#include <QtCore/QUrl>

#include <chrono>
#include <optional>

class QMimeData;

namespace gateway::platform {
class Clock;
class MainExecutor;
} // namespace gateway::platform

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

class Button;
class DropArea;
class Figure;
class StorageFigures;
struct DashboardParts;

/// "Received Items": what is here, the room that it takes, and where files are dropped.
///
/// Owner: OverviewPage. Thread: main.
class DimseImportCard : public Card
{
    Q_OBJECT

public:
    /// How long a drop is confirmed.
    static constexpr std::chrono::milliseconds kIndicatorDuration{1300};

    explicit DimseImportCard(const DashboardParts &parts, QWidget *parent = nullptr);
    ~DimseImportCard() override;

    bool isDropTargeted() const { return m_isDropTargeted; }
    bool isDropImportIndicatorVisible() const { return m_isDropImportIndicatorVisible; }

    Figure &studies() { return *m_studies; }
    Figure &series() { return *m_series; }
    Figure &images() { return *m_images; }
    StorageFigures &storage() { return *m_storage; }
    DropArea &dropArea() { return *m_dropArea; }

    /// Null where there is nothing that it could offer.
    Button *moreButton() { return m_more; }

    /// The local file that one dropped item stands for; nothing for anything else.
    static std::optional<QUrl> loadDroppedFileURL(const QUrl &item);

Q_SIGNALS:
    /// Files or folders were dropped; never empty.
    void dropped(const QList<QUrl> &urls);

    /// The operator wants to choose files instead.
    void importRequested();

protected:
    void showEvent(QShowEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void setDropTargeted(bool targeted);
    void showDropState();
    QCoro::Task<> showImportStarted();

    const Theme &m_theme;
    state::GatewayAppState &m_appState;
    platform::MainExecutor &m_main;
    platform::Clock &m_clock;
    Button *m_more;
    Figure *m_studies;
    Figure *m_series;
    Figure *m_images;
    StorageFigures *m_storage;
    DropArea *m_dropArea;
    bool m_isDropTargeted = false;
    bool m_isDropImportIndicatorVisible = false;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
