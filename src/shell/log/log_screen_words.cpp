#include "shell/log/log_screen_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::shell {

namespace {

/// Gives these functions their translations' context.
struct LogScreenWords
{
    Q_DECLARE_TR_FUNCTIONS(LogScreenWords)
};

} // namespace

QString wordFor(log::LevelFilter filter)
{
    switch (filter) {
    case log::LevelFilter::debug:
        return LogScreenWords::tr("Debug");
    case log::LevelFilter::info:
        return LogScreenWords::tr("Info");
    case log::LevelFilter::warning:
        return LogScreenWords::tr("Warning");
    case log::LevelFilter::error:
        return LogScreenWords::tr("Error");
    case log::LevelFilter::all:
        break;
    }
    return LogScreenWords::tr("All Levels");
}

QString wordFor(log::CategoryFilter filter)
{
    switch (filter) {
    case log::CategoryFilter::listener:
        return LogScreenWords::tr("Listener");
    case log::CategoryFilter::receive:
        return LogScreenWords::tr("Receive");
    case log::CategoryFilter::send:
        return LogScreenWords::tr("Send");
    case log::CategoryFilter::uploadQueue:
        return LogScreenWords::tr("Upload Queue");
    case log::CategoryFilter::quorinCloud:
        return LogScreenWords::tr("Quorin Cloud");
    case log::CategoryFilter::all:
        break;
    }
    return LogScreenWords::tr("All Categories");
}

QString wordFor(log::GatewayLogLevel level)
{
    // A level and the filter that shows it have the same raw value.
    return wordFor(log::levelFilter(rawValue(level)).value_or(log::LevelFilter::all));
}

QString wordFor(log::GatewayLogCategory category)
{
    const auto filter = log::categoryFilter(rawValue(category));
    return filter ? wordFor(*filter) : LogScreenWords::tr("Updater"); // the only one without a filter
}

Color colorFor(log::GatewayLogLevel level)
{
    switch (level) {
    case log::GatewayLogLevel::info:
        return Color::blue;
    case log::GatewayLogLevel::warning:
        return Color::amber;
    case log::GatewayLogLevel::error:
        return Color::red;
    case log::GatewayLogLevel::debug:
        break;
    }
    return Color::muted;
}

Color colorFor(log::GatewayLogOutcome outcome)
{
    switch (outcome) {
    case log::GatewayLogOutcome::failed:
        return Color::red;
    case log::GatewayLogOutcome::succeeded:
    case log::GatewayLogOutcome::completed:
        return Color::green;
    case log::GatewayLogOutcome::skipped:
    case log::GatewayLogOutcome::queued:
        return Color::amber;
    case log::GatewayLogOutcome::started:
    case log::GatewayLogOutcome::inProgress:
        break;
    }
    return Color::text2;
}

} // namespace gateway::shell
