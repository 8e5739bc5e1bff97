#pragma once

#include <QtCore/QString>

#include <exception>
#include <utility>

namespace gateway::core {

/// Waiting for the listener's start ended without a listener. Thrown; a plain record.
class StoreStartupError : public std::exception
{
public:
    explicit StoreStartupError(QString text) : message(std::move(text)) {}

    const char *what() const noexcept override { return "the DIMSE listener did not start"; }

    QString message;
};

/// What went wrong in the listener, for its log records. Thrown; a plain record.
class StoreError : public std::exception
{
public:
    explicit StoreError(QString text) : message(std::move(text)) {}

    const char *what() const noexcept override { return "the DIMSE listener failed"; }

    QString message;
};

} // namespace gateway::core
