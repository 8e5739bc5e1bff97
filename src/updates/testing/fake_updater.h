#pragma once

#include "updates/updater.h"

#include <QtCore/QStringList>

namespace gateway::updates::testing {

/// What a fake updater was asked; outlives it.
struct FakeUpdates
{
    bool areAutomatic = true;
    int updatersMade = 0;
    QStringList checks; ///< "background" and "foreground"
};

/// An updater that notes what it was asked. Thread: main.
class FakeUpdater final : public Updater
{
public:
    explicit FakeUpdater(FakeUpdates &updates) : m_updates(updates) { ++m_updates.updatersMade; }

    bool automaticallyChecksForUpdates() const override { return m_updates.areAutomatic; }
    void setAutomaticallyChecksForUpdates(bool areOn) override { m_updates.areAutomatic = areOn; }
    void checkForUpdatesInBackground() override { m_updates.checks.append(QStringLiteral("background")); }
    void checkForUpdates() override { m_updates.checks.append(QStringLiteral("foreground")); }

private:
    FakeUpdates &m_updates;
};

} // namespace gateway::updates::testing
