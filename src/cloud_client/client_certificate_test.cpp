#include "cloud_client/client_certificate.h"

#include "cloud_client/testing/pem_samples.h"

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

namespace {

const QDateTime kNow(QDate(2026, 6, 1), QTime(12, 0), Qt::UTC);

ClientCertificate certificate(const PemSample &sample)
{
    return {sample.certificate, sample.key};
}

PemSample goodSample()
{
    return makePemSample(kNow.addDays(-1), kNow.addDays(1));
}

} // namespace

TEST(ClientCertificate, TellsItsHolderAndItsTime)
{
    const std::optional<CertificateFacts> facts = factsOf(goodSample().certificate);

    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->name, QStringLiteral("gateway one"));
    EXPECT_EQ(facts->notBefore, kNow.addDays(-1));
    EXPECT_EQ(facts->notAfter, kNow.addDays(1));
}

TEST(ClientCertificate, CanBeTriedInItsTimeWithItsKey)
{
    EXPECT_EQ(issueWith(certificate(goodSample()), kNow), std::nullopt);
    EXPECT_EQ(issueWith(ClientCertificate(), kNow), std::nullopt);
}

TEST(ClientCertificate, SaysWhatIsWrongWithItInOneSentence)
{
    const PemSample good = goodSample();
    const struct
    {
        ClientCertificate certificate;
        QDateTime now;
        const char *word;
    } cases[] = {{certificate(good), kNow.addDays(2), "expired"},
                 {certificate(good), kNow.addDays(-2), "not valid before"},
                 {{good.certificate, goodSample().key}, kNow, "does not belong"},
                 {{good.certificate, "no key"}, kNow, "private key"},
                 {{"no certificate", good.key}, kNow, "PEM"},
                 {{{}, good.key}, kNow, "PEM"}};
    for (const auto &[one, now, word] : cases) {
        const std::optional<QString> issue = issueWith(one, now);
        ASSERT_TRUE(issue) << word;
        EXPECT_TRUE(issue->contains(QLatin1StringView(word))) << issue->toStdString();
    }
}

} // namespace gateway::cloud_client::testing
