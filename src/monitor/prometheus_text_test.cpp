#include "monitor/prometheus_text.h"

#include "monitor/prometheus_writer.h"
#include "monitor/testing/full_metrics.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

TEST(PrometheusWriter, WritesHelpTypeAndValue)
{
    PrometheusWriter out;
    out.counter("things_total", u"Things."_qs, 3);
    out.gauge("room_bytes", u"Room."_qs, 0.25);

    EXPECT_EQ(out.text(),
              "# HELP things_total Things.\n# TYPE things_total counter\nthings_total 3\n"
              "# HELP room_bytes Room.\n# TYPE room_bytes gauge\nroom_bytes 0.25\n");
}

TEST(PrometheusWriter, EscapesHelpAndLabels)
{
    PrometheusWriter out;
    out.gaugeFamily("a", u"back\\slash, \"quote\", line\nbreak"_qs);
    out.sample("l", u"back\\slash, \"quote\", line\nbreak, \u00e4"_qs, 1);

    EXPECT_EQ(out.text(),
              "# HELP a back\\\\slash, \"quote\", line\\nbreak\n# TYPE a gauge\n"
              "a{l=\"back\\\\slash, \\\"quote\\\", line\\nbreak, \xc3\xa4\"} 1\n");
}

TEST(PrometheusWriter, WritesNumbersThatReadBackTheSame)
{
    PrometheusWriter out;
    out.gaugeFamily("n", u"Numbers."_qs);
    const double large = 9'007'199'254'740'991.0;
    for (const double value : {0.1, -2.5e-9, 1'500'000'000'000.0, large, 1e300}) {
        out.sample("l", u"v"_qs, value);
    }

    const QList<QByteArray> lines = out.text().split('\n');
    EXPECT_EQ(lines.at(2).split(' ').last().toDouble(), 0.1);
    EXPECT_EQ(lines.at(3).split(' ').last().toDouble(), -2.5e-9);
    EXPECT_EQ(lines.at(4), "n{l=\"v\"} 1500000000000");
    EXPECT_EQ(lines.at(5).split(' ').last().toDouble(), large);
    EXPECT_EQ(lines.at(6).split(' ').last().toDouble(), 1e300);
}

TEST(PrometheusWriter, NamesWhatIsNoNumber)
{
    PrometheusWriter out;
    out.gaugeFamily("n", u"Numbers."_qs);
    out.sample("l", u"a"_qs, std::numeric_limits<double>::infinity());
    out.sample("l", u"b"_qs, -std::numeric_limits<double>::infinity());
    out.sample("l", u"c"_qs, std::nan(""));

    EXPECT_TRUE(out.text().endsWith("n{l=\"a\"} +Inf\nn{l=\"b\"} -Inf\nn{l=\"c\"} NaN\n"));
}

class Exposition : public ::testing::Test
{
protected:
    QByteArray line(const QByteArray &start) const
    {
        for (const QByteArray &one : prometheusText(m_view).split('\n')) {
            if (one.startsWith(start)) {
                return one;
            }
        }
        return {};
    }

    MetricsView m_view = testing::fullMetrics();
};

TEST_F(Exposition, HoldsEveryFamilyOnceWithHelpAndType)
{
    QSet<QByteArray> families;
    QByteArray current;
    const QByteArray text = prometheusText(m_view);
    ASSERT_TRUE(text.endsWith('\n'));
    for (const QByteArray &one : text.chopped(1).split('\n')) {
        if (one.startsWith("# HELP ")) {
            current = one.split(' ').at(2);
            EXPECT_FALSE(families.contains(current)) << current.toStdString();
            families.insert(current);
        } else if (one.startsWith("# TYPE ")) {
            EXPECT_EQ(one.split(' ').at(2), current);
            EXPECT_EQ(one.endsWith(" counter"), current.endsWith("_total")) << current.toStdString();
        } else {
            static const QRegularExpression sample(
                u"^([a-z_]+)(\\{[a-z]+=\"[^\"]*\"\\})? [-+.0-9eInfNa]+$"_qs);
            const auto match = sample.match(QString::fromUtf8(one));
            EXPECT_EQ(match.captured(1).toUtf8(), current) << one.toStdString();
        }
    }
    EXPECT_GE(families.size(), 40);
}

TEST_F(Exposition, TellsTheFiguresInBaseUnits)
{
    EXPECT_EQ(line("quorin_gateway_images_received_total "), "quorin_gateway_images_received_total 120");
    EXPECT_EQ(line("quorin_gateway_oldest_unsent_image_age_seconds "),
              "quorin_gateway_oldest_unsent_image_age_seconds 90.5");
    EXPECT_EQ(line("quorin_gateway_unsent_instances "), "quorin_gateway_unsent_instances 4");
    EXPECT_EQ(line("quorin_gateway_free_bytes{folder=\"inbox\"}"),
              "quorin_gateway_free_bytes{folder=\"inbox\"} 2000000000");
    EXPECT_EQ(line("quorin_gateway_seconds_until_full{folder=\"store\"}"),
              "quorin_gateway_seconds_until_full{folder=\"store\"} 7200");
    EXPECT_EQ(line("quorin_gateway_failed_files{"), "quorin_gateway_failed_files{class=\"network\"} 3");
}

TEST_F(Exposition, LeavesOutWhatIsNotKnown)
{
    m_view.figures->cloud.isOnline.reset();
    m_view.figures->cloud.areTermsRequired.reset();
    m_view.figures->storage.usedBytes.reset();
    m_view.figures->storage.rooms.clear();

    EXPECT_EQ(line("quorin_gateway_cloud_up"), QByteArray());
    EXPECT_EQ(line("quorin_gateway_terms_required"), QByteArray());
    EXPECT_EQ(line("quorin_gateway_store_bytes"), QByteArray());
    EXPECT_EQ(line("quorin_gateway_free_bytes"), QByteArray());
}

TEST_F(Exposition, HasNoForecastWhileTheVolumeDoesNotFillUp)
{
    for (HealthFigures::Room &room : m_view.figures->storage.rooms) {
        room.untilReserve.reset();
    }

    EXPECT_EQ(line("quorin_gateway_seconds_until_full{"), QByteArray());
    EXPECT_NE(line("quorin_gateway_free_bytes{"), QByteArray());
}

TEST_F(Exposition, TellsAnAgeOfZeroWhenAllIsSent)
{
    m_view.figures->index.oldestUnsentAge.reset();

    EXPECT_EQ(line("quorin_gateway_oldest_unsent_image_age_seconds "),
              "quorin_gateway_oldest_unsent_image_age_seconds 0");
}

TEST_F(Exposition, TellsNoCountsOfAnIndexThatDoesNotAnswer)
{
    m_view.figures->index = {};

    EXPECT_EQ(line("quorin_gateway_index_up "), "quorin_gateway_index_up 0");
    EXPECT_EQ(line("quorin_gateway_unsent_images"), QByteArray());
    EXPECT_EQ(line("quorin_gateway_healthy "), "quorin_gateway_healthy 0");
}

} // namespace
} // namespace gateway::monitor
