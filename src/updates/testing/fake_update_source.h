#pragma once

#include "platform/concurrency/testing/gate.h"
#include "updates/update_error.h"
#include "updates/update_source.h"

#include <QtCore/QStringList>

#include <atomic>
#include <optional>
#include <vector>

namespace gateway::updates::testing {

/// Finds and fetches what the test wants, and can be made to wait. Thread: any.
class FakeSource final : public UpdateSource
{
public:
    std::optional<AppcastItem> newerItem(std::stop_token) override
    {
        ++checks;
        m_gate.pass();
        if (failure) {
            throw UpdateError(*failure, QStringLiteral("updates.example"));
        }
        return found;
    }

    QString fetch(const AppcastItem &item, const Progress &progress, std::stop_token stop) override
    {
        ++fetches;
        progress(item.length / 2);
        m_gate.pass();
        if (stop.stop_requested() && !isThere) {
            throw UpdateError(UpdateFailure::ended, QStringLiteral("updates.example"));
        }
        if (failure) {
            throw UpdateError(*failure, QStringLiteral("updates.example"));
        }
        progress(item.length);
        isThere = true;
        return QStringLiteral("/fetched");
    }

    void hold(bool isHeld) { m_gate.hold(isHeld); }

    /// What it finds unless told otherwise.
    static AppcastItem item()
    {
        return {.kind = PackageKind::appImage,
                .architecture = QStringLiteral("x86_64"),
                .versionString = QStringLiteral("2.0"),
                .displayVersionString = QStringLiteral("2.0 (Winter)"),
                .notes = QStringLiteral("Faster.\nSafer."),
                .url = QUrl(QStringLiteral("https://updates.example/gateway.AppImage")),
                .length = 9,
                .sha256 = QByteArray(32, 'h'),
                .signature = QByteArray(64, 's')};
    }

    std::optional<AppcastItem> found = item();
    std::optional<UpdateFailure> failure;
    std::atomic<int> checks = 0;
    std::atomic<int> fetches = 0;
    std::atomic<bool> isThere = false; ///< all of the package, so that no server is asked

private:
    platform::testing::Gate m_gate;
};

/// Notes what it is given. Thread: any, one at a time.
class FakeInstaller final : public PackageInstaller
{
public:
    bool installsByItself() const override { return byItself; }

    Outcome install(const QString &verified, const AppcastItem &item) override
    {
        if (failure) {
            throw UpdateError(*failure, QStringLiteral("/Applications"));
        }
        installed.append(verified + u' ' + item.versionString);
        return outcome;
    }

    bool byItself = false;
    Outcome outcome = Outcome::installed;
    std::optional<UpdateFailure> failure;
    QStringList installed;
};

/// Notes what was found. Thread: main.
class FakeDelegate final : public UpdaterDelegate
{
public:
    bool supportsGentleScheduledUpdateReminders() const override { return isGentle; }
    void updaterDidFindValidUpdate(const UpdateItem &item) override { found.push_back(item); }

    bool isGentle = true;
    std::vector<UpdateItem> found;
};

} // namespace gateway::updates::testing
