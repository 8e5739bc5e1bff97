#pragma once

#include "log/browsing/gateway_logs_view_model.h"
#include "log/browsing/testing/log_folder.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "shell/controls/combo_box.h"
#include "shell/log/log_screen.h"
#include "shell/log/log_table.h"
#include "shell/log/log_table_model.h"
#include "shell/log/testing/log_events.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace gateway::shell::testing {

inline const QString kFile = QStringLiteral("gateway-transfer-20260102-080000-AAAAAAAA.jsonl");
inline const QString kOther = QStringLiteral("gateway-transfer-20260102-070000-BBBBBBBB.jsonl");
inline const QString kAutoRefreshKey = QStringLiteral("QuorinGateway.logs.autoRefreshEnabled");

/// The log screen in a window, over log files in a throw-away folder and a manual clock. Thread: main.
class LogScreenTest : public ::testing::Test
{
protected:
    enum class Wait
    {
        no,
        untilRead
    };

    void fill(int from, int to) const
    {
        for (int second = from; second < to; ++second) {
            folder.append(kFile, someEvent(second));
        }
    }

    /// Opens the screen in a window and, unless told otherwise, waits until it has read.
    void open(const QString &directory, Wait wait = Wait::untilRead)
    {
        fixture = std::make_unique<ThemedWindow>();
        fixture->window().resize(1180, 780);
        fixture->window().layout()->setContentsMargins({});
        model = std::make_unique<log::GatewayLogsViewModel>(
            log::GatewayLogsParts{defaults, main, pool, clock}, directory);
        screen = new LogScreen({fixture->theme(), *model, defaults, main, pool, [this](const QString &path) {
                                    opened.append(path);
                                    return canOpen;
                                }});
        fixture->add(screen);
        ASSERT_TRUE(fixture->show());
        if (wait == Wait::untilRead) {
            finishReading();
        }
    }
    void open() { open(folder.path()); }

    void TearDown() override
    {
        fixture.reset();
        model.reset();
    }

    void finishReading()
    {
        while (model->isLoading()) {
            QApplication::processEvents();
        }
        QApplication::processEvents();
    }

    void refresh()
    {
        model->refresh();
        finishReading();
    }

    template <typename Widget>
    Widget &the() const
    {
        return *fixture->window().findChild<Widget *>();
    }

    LogTable &table() const { return the<LogTable>(); }
    int rowCount() const { return table().model()->rowCount(); }

    QAbstractButton &button(const QString &text) const
    {
        for (auto *each : fixture->window().findChildren<QAbstractButton *>()) {
            if (each->text() == text && each->isVisible()) {
                return *each;
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        std::abort();
    }

    /// Whether a label with these words is to be seen.
    bool shows(const QString &words) const
    {
        const auto labels = screen->findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == words;
        });
    }

    ComboBox &box(const QString &name) const
    {
        for (auto *each : screen->findChildren<ComboBox *>()) {
            if (each->accessibleName() == name) {
                return *each;
            }
        }
        std::abort();
    }

    /// Chooses by the keyboard.
    void choose(ComboBox &from, int downwards) const
    {
        from.setFocus();
        for (int step = 0; step < downwards; ++step) {
            QTest::keyClick(&from, Qt::Key_Down);
        }
    }

    void clickRow(int row) const
    {
        const QRect cell = table().visualRect(table().model()->index(row, LogTableModel::action));
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell.center());
    }

    QString timeAt(int row) const
    {
        return table().model()->index(row, LogTableModel::time).data().toString();
    }

    /// Keeps a picture of the window for whoever asks for them.
    void picture(const QString &name) const
    {
        testing::keepPicture(fixture->window(), u"log-screen-"_qs + name);
    }

    gateway::log::testing::LogFolder folder;
    QTemporaryDir home;
    platform::UserDefaults defaults{home.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    gateway::platform::testing::ManualClock clock;
    std::unique_ptr<log::GatewayLogsViewModel> model;
    std::unique_ptr<ThemedWindow> fixture;
    LogScreen *screen = nullptr;
    QStringList opened;
    bool canOpen = true;
};

} // namespace gateway::shell::testing
