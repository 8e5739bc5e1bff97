#include "monitor/prometheus_writer.h"

#include <array>
#include <charconv>
#include <cmath>

namespace gateway::monitor {

namespace {

QByteArray escapedHelp(const QString &help)
{
    return help.toUtf8().replace('\\', "\\\\").replace('\n', "\\n");
}

QByteArray escapedLabel(const QString &value)
{
    return escapedHelp(value).replace('"', "\\\"");
}

/// The shortest text that reads back as the same number.
QByteArray number(double value)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "+Inf" : "-Inf";
    }
    // Whole numbers are bytes and counts: they stand without an exponent.
    if (std::abs(value) < 1e15 && std::trunc(value) == value) {
        return QByteArray::number(static_cast<qint64>(value));
    }
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    return {digits.data(), end - digits.data()};
}

} // namespace

void PrometheusWriter::counter(const QByteArray &name, const QString &help, double value)
{
    begin(name, help, "counter");
    m_text += name;
    end(value);
}

void PrometheusWriter::gauge(const QByteArray &name, const QString &help, double value)
{
    gaugeFamily(name, help);
    m_text += name;
    end(value);
}

void PrometheusWriter::counterFamily(const QByteArray &name, const QString &help)
{
    begin(name, help, "counter");
}

void PrometheusWriter::gaugeFamily(const QByteArray &name, const QString &help)
{
    begin(name, help, "gauge");
}

void PrometheusWriter::sample(const QByteArray &label, const QString &labelValue, double value)
{
    m_text += m_family + '{' + label + "=\"" + escapedLabel(labelValue) + "\"}";
    end(value);
}

void PrometheusWriter::begin(const QByteArray &name, const QString &help, const QByteArray &type)
{
    m_family = name;
    m_text += "# HELP " + name + ' ' + escapedHelp(help) + "\n# TYPE " + name + ' ' + type + '\n';
}

void PrometheusWriter::end(double value)
{
    m_text += ' ' + number(value) + '\n';
}

} // namespace gateway::monitor
