#include "terminal/commands/conformance_statement.h"

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

ConformanceConfiguration delivered()
{
    ConformanceConfiguration configuration{.listener = {}, .cloudKind = u"quorin"_qs};
    configuration.listener.aeTitle = u"QUORIN"_qs;
    configuration.listener.port = 11112;
    return configuration;
}

TEST(ConformanceStatement, LeavesNoValueOpen)
{
    EXPECT_FALSE(conformanceText(delivered()).contains(u"%{"_qs));
}

TEST(ConformanceStatement, SaysWhatIsSet)
{
    ConformanceConfiguration configuration = delivered();
    configuration.listener.timeout = std::chrono::seconds(77);
    configuration.listener.associationsPerAddress = 5;
    configuration.listener.isEnabled = false;
    configuration.cloudKind = u"dicomweb"_qs;
    configuration.compressesToJpegLs = false;
    configuration.instancesPerUpload = 16;

    const QString text = conformanceText(configuration);

    for (const QString &words : {u"AE title QUORIN, port 11112, listener off"_qs,
                                 u"77 s for an idle association"_qs,
                                 u"of one address at most 5 "_qs,
                                 u"a DICOMweb archive"_qs,
                                 u"Basic (RFC 7617)"_qs,
                                 u"up to 16 instances"_qs,
                                 u"nothing is compressed before"_qs}) {
        EXPECT_TRUE(text.contains(words)) << words.toStdString();
    }
    EXPECT_EQ(conformanceJson(configuration)[u"listener"][u"associationsPerAddress"].toInt(), 5);
    EXPECT_EQ(conformanceJson(configuration)[u"dicomWeb"][u"instancesPerUpload"].toInt(), 16);
}

} // namespace
} // namespace gateway::terminal
