#pragma once

#include "account/testing/session_world.h"
#include "browser/testing/fake_archive.h"
#include "index/testing/temporary_index.h"
#include "log/writing/testing/recording_log.h"
#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_table_view.h"
#include "shell/browser/browser_window_controllers.h"
#include "shell/browser/table_keeper.h"
#include "shell/controls/button.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/text_field.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtCore/QTimer>
#include <QtGui/QClipboard>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>

#include <gtest/gtest.h>

#include <algorithm>

namespace gateway::shell::testing {

/// Both browsers' windows, over an archive in memory, a real index in a throw-away home and a fake account.
///
/// Owner: a test. Thread: main.
struct BrowserScreenWorld : account::testing::SessionWorld
{
    BrowserScreenWorld()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
    }

    ~BrowserScreenWorld() override { archive.release(); }

    /// Lets the next table come up with the widths that it begins with.
    void forgetColumns()
    {
        for (const QString &key : defaults.keys()) {
            if (key.contains(QLatin1StringView("olumns"))) {
                defaults.removeObject(key);
            }
        }
    }

    BrowserParts parts()
    {
        return {theme, defaults, main, pool, keeper, [this](QWidget *, const QString &name) {
                    suggestedName = name;
                    return exportFile;
                }};
    }

    CloudBrowserDoor cloudDoor()
    {
        return {{archive,
                 archive,
                 emitter,
                 defaults,
                 store.index(),
                 {main, pool, clock},
                 [this] { return settings.token(); }},
                auth,
                [this](QWidget *window) {
                    ++signInSheets;
                    return new Sheet(theme, *window, QStringLiteral("Sign In"));
                }};
    }

    LocalBrowserDoor localDoor()
    {
        return {{store.index(),
                 store.index().failedUploads(),
                 store.notifications,
                 {main, pool, clock},
                 [this] { ++refreshed; }},
                [this](const QString &study) { sent.append(study); },
                [this](const QString &directory) {
                    openedFolders.append(directory);
                    return isFolderShown;
                },
                [this](const QStringList &hashes) { followed = hashes; }};
    }

    template <typename Controller>
    void open(Controller &controller)
    {
        controller.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(controller.window(), 30'000));
        controller.window()->resize(1200, 700); // whatever the screen of the tests has
    }

    /// The visible button with this title.
    static QAbstractButton *button(const QWidget &root, const QString &title)
    {
        const QList<QAbstractButton *> all = root.findChildren<QAbstractButton *>();
        for (QAbstractButton *each : all) {
            if (each->isVisible() && each->text() == title) {
                return each;
            }
        }
        return nullptr;
    }

    static void press(const QWidget &root, const QString &title)
    {
        QAbstractButton *found = button(root, title);
        ASSERT_NE(found, nullptr) << title.toStdString();
        QTest::mouseClick(found, Qt::LeftButton);
    }

    /// Whether a visible label has this text.
    static bool shows(const QWidget &root, const QString &text)
    {
        const QList<QLabel *> all = root.findChildren<QLabel *>();
        return std::any_of(all.begin(), all.end(), [&](const QLabel *label) {
            return label->isVisible() && label->text() == text;
        });
    }

    static QString cell(const BrowserTableView &view, int row, int column)
    {
        return view.model()->index(row, column).data().toString();
    }

    /// The question that is open; null when there is none.
    static ConfirmDialog *question(const QWidget &window)
    {
        const QList<ConfirmDialog *> all = window.findChildren<ConfirmDialog *>();
        for (ConfirmDialog *each : all) {
            if (each->isVisible()) {
                return each;
            }
        }
        return nullptr;
    }

    /// Waits for the question with this title.
    ConfirmDialog &awaitQuestion(const QWidget &window, const QString &title)
    {
        runUntil([&] {
            const ConfirmDialog *open = question(window);
            return open != nullptr && open->accessibleWords() == title;
        });
        return *question(window);
    }

    /// Waits until what is to be deleted later is.
    template <typename Pointer>
    void awaitGone(const Pointer &pointer)
    {
        runUntil([&] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return pointer == nullptr;
        });
    }

    /// The titles of columns that have less room than their words need, with a margin on both sides and the
    /// mark of the sorting.
    static QStringList cutTitles(const BrowserTableView &view)
    {
        const QHeaderView &header = *view.horizontalHeader();
        QStringList cut;
        for (int column = 0; column < header.count(); ++column) {
            const QString title =
                view.model()->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
            if (header.fontMetrics().horizontalAdvance(title) + 3 * 12 > header.sectionSize(column)) {
                cut.append(title);
            }
        }
        return cut;
    }

    /// Waits until the question that is open, or comes, takes a yes.
    template <typename Clock>
    static void awaitArmed(const QWidget &window, Clock &clock)
    {
        runUntil([&] {
            ConfirmDialog *const open = question(window);
            if (open != nullptr && !open->confirmButton().isEnabled()) {
                clock.advance(browser::BrowserTable::kArmingTime);
            }
            return open != nullptr && open->confirmButton().isEnabled();
        });
    }

    /// Answers all three questions with yes, by clicks.
    void sayYes(QWidget &window)
    {
        for (int answers = 0; answers < 3; ++answers) {
            awaitArmed(window, clock);
            QTest::mouseClick(&question(window)->confirmButton(), Qt::LeftButton);
        }
    }

    /// Keeps a picture of the window for whoever asks for them.
    static void picture(QWidget &window, const QString &name)
    {
        const QString directory = qEnvironmentVariable("QUORIN_PICTURES");
        if (!directory.isEmpty()) {
            QCoreApplication::processEvents();
            ASSERT_TRUE(window.grab().save(directory + u'/' + name + QStringLiteral(".png")));
        }
    }

    Theme theme;
    browser::testing::FakeArchive archive;
    log::testing::RecordingLog events;
    log::StoreLogEmitter emitter{events, clock};
    index::testing::TemporaryIndex store;
    TableKeeper keeper{main};
    QString exportFile;
    QString suggestedName;
    int signInSheets = 0;
    int refreshed = 0;
    QStringList sent;
    QStringList openedFolders;
    bool isFolderShown = true;
    QStringList followed;
};

} // namespace gateway::shell::testing
