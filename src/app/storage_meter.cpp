#include "app/storage_meter.h"

#include "platform/files/files.h"

#include <QtCore/QDirIterator>

#include <utility>

namespace gateway::app {

StorageFigures measureStorage(const QString &folder)
{
    StorageFigures figures;
    QDirIterator files(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        figures.usedBytes += platform::allocatedBytes(files.next()).value_or(0);
    }
    if (const auto volume = platform::volumeFigures(folder)) {
        figures.availableBytes = volume->availableBytes;
    }
    return figures;
}

StorageMeter::StorageMeter(QString fileStore, platform::MainExecutor &main)
    : m_fileStore(std::move(fileStore)), m_main(main),
      m_storageMetricsQueue(QStringLiteral("com.ovelt.pavan.gateway.storageMetrics.queue"),
                            platform::Quality::utility)
{
}

void StorageMeter::measure(std::function<void(StorageFigures)> whenKnown)
{
    if (m_figures) {
        whenKnown(*m_figures);
    } else {
        m_waiting.push_back(std::move(whenKnown));
    }
    if (m_isMeasuring) {
        m_isWantedAgain = true;
    } else {
        start();
    }
}

void StorageMeter::start()
{
    m_isMeasuring = true;
    m_storageMetricsQueue.async([weak = weak_from_this(), &main = m_main, folder = m_fileStore] {
        const StorageFigures figures = measureStorage(folder);
        main.post([weak, figures] {
            if (const auto self = weak.lock()) {
                self->measured(figures);
            }
        });
    });
}

void StorageMeter::measured(StorageFigures figures)
{
    m_figures = figures;
    m_isMeasuring = false;
    for (const auto &answer : std::exchange(m_waiting, {})) {
        answer(figures);
    }
    if (std::exchange(m_isWantedAgain, false)) {
        start();
    }
}

} // namespace gateway::app
