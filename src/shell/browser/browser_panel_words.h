#pragma once

#include "browser/table_kind.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace gateway::browser {
class BrowserTable;
}

namespace gateway::shell {

// What the panels say beside the words that the command line has, too. Thread: main.

QString searchPrompt(browser::TableKind kind);
QString loadingWords(browser::TableKind kind);
QString deletingWords(browser::TableKind kind);

/// What stands where the table would be before anything was loaded.
QString notLoadedWords(browser::TableKind kind);

/// What the status line says meanwhile.
QString hintBeforeLoading(browser::TableKind kind);

/// "<n> selected", and how many of them the search hides.
QString selectionWords(qsizetype selected, qsizetype hidden);

/// What is easily overlooked before a deletion; empty where nothing is.
QString deletionWarning(const browser::BrowserTable &table);

/// A local time, "yyyy-MM-dd HH:mm:ss" in every language.
QString refreshTimeText(const QDateTime &time);

/// Names an export, without a patient's name.
QString exportName(browser::TableKind kind);

/// Where the columns are kept in the defaults.
QString columnsKey(browser::TableKind kind);

} // namespace gateway::shell
