#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace gateway::monitor {

/// Writes metric families in Prometheus' text exposition format.
///
/// Thread: one at a time.
class PrometheusWriter
{
public:
    /// One family with one sample. A counter's name ends in "_total".
    ///
    /// \param name  letters, digits and "_", with the unit at its end.
    /// \param help  one sentence; may hold anything.
    void counter(const QByteArray &name, const QString &help, double value);
    void gauge(const QByteArray &name, const QString &help, double value);

    /// Begins a family whose samples follow.
    void counterFamily(const QByteArray &name, const QString &help);
    void gaugeFamily(const QByteArray &name, const QString &help);

    /// A sample of the family begun last. The label's value may hold anything.
    void sample(const QByteArray &label, const QString &labelValue, double value);

    const QByteArray &text() const { return m_text; }

private:
    void begin(const QByteArray &name, const QString &help, const QByteArray &type);
    void end(double value);

    QByteArray m_text;
    QByteArray m_family;
};

} // namespace gateway::monitor
