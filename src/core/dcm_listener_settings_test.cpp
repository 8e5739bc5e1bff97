#include "core/dcm_listener_settings.h"

#include "core/ae_title_formatter.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::core {

namespace {

const QString kKey = QStringLiteral("ListenerSettings");
const QByteArray kFourMembers = R"({"aeTitle":"CT","port":104,"syntax":24,"timeout":5})";

class ListenerSettings : public ::testing::Test
{
private:
    QTemporaryDir m_home;

protected:
    DCMListenerSettings loadStored(const QVariant &stored)
    {
        defaults.setObject(kKey, stored);
        return DCMListenerSettings::load(defaults);
    }

    platform::UserDefaults defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};
};

QByteArray with(const char *name, const QJsonValue &value)
{
    QJsonObject object = QJsonDocument::fromJson(kFourMembers).object();
    object.insert(QString::fromLatin1(name), value);
    return QJsonDocument(object).toJson();
}

QByteArray without(const char *name)
{
    QJsonObject object = QJsonDocument::fromJson(kFourMembers).object();
    object.remove(QString::fromLatin1(name));
    return QJsonDocument(object).toJson();
}

} // namespace

TEST_F(ListenerSettings, OfAnEmptyDomainGiveTheDefaultRecord)
{
    const DCMListenerSettings settings = DCMListenerSettings::load(defaults);

    EXPECT_EQ(settings.port, 1115);
    EXPECT_EQ(settings.timeout, std::chrono::seconds(30));
    EXPECT_EQ(settings.isEnabled, true);
    EXPECT_EQ(settings.advertiseWithBonjour, true);
    EXPECT_EQ(settings.syntax, PreferredSyntaxForIncomingType::explicitLittleEndian);
    EXPECT_EQ(settings.securityProfile, static_cast<TLSSecurityProfile>(1));
    EXPECT_EQ(settings.verifyPeer, false);
    EXPECT_FALSE(settings.aeTitle.isEmpty());
    EXPECT_EQ(AETitleFormatter::format(settings.aeTitle), settings.aeTitle);
}

TEST_F(ListenerSettings, ComeBackAsTheyWereSaved)
{
    DCMListenerSettings settings{QStringLiteral("\"Ü\" 1"),
                                 65535,
                                 PreferredSyntaxForIncomingType::implicitLittleEndianOnly,
                                 std::chrono::seconds(0),
                                 false,
                                 std::nullopt,
                                 static_cast<TLSSecurityProfile>(7),
                                 true};
    EXPECT_TRUE(settings.save(defaults));
    EXPECT_EQ(DCMListenerSettings::load(defaults), settings);

    settings.isEnabled.reset();
    settings.advertiseWithBonjour = true;
    settings.securityProfile.reset();
    settings.verifyPeer.reset();
    EXPECT_TRUE(settings.save(defaults));
    EXPECT_EQ(DCMListenerSettings::load(defaults), settings);
}

TEST_F(ListenerSettings, AreStoredAsJsonBytesWithAbsentMembersLeftOut)
{
    DCMListenerSettings settings = DCMListenerSettings::recommended();
    settings.verifyPeer.reset();
    settings.isEnabled.reset();
    settings.save(defaults);

    const QVariant stored = defaults.object(kKey).value_or(QVariant());
    ASSERT_EQ(stored.typeId(), QMetaType::QByteArray);
    const QJsonObject object = QJsonDocument::fromJson(stored.toByteArray()).object();
    EXPECT_EQ(object.keys(),
              QStringLiteral("advertiseWithBonjour aeTitle port securityProfile syntax timeout").split(u' '));
    EXPECT_EQ(object.value(QStringLiteral("syntax")), QJsonValue(2));
    EXPECT_EQ(object.value(QStringLiteral("securityProfile")), QJsonValue(1));
}

TEST_F(ListenerSettings, WithTheFourRequiredMembersAloneLoadAndCountAsEnabledAndAdvertised)
{
    const DCMListenerSettings settings = loadStored(kFourMembers);

    EXPECT_EQ(settings.aeTitle, QStringLiteral("CT"));
    EXPECT_EQ(settings.port, 104);
    EXPECT_EQ(settings.syntax, PreferredSyntaxForIncomingType::jpegLSLosslessAndlossy);
    EXPECT_EQ(settings.timeout, std::chrono::seconds(5));
    EXPECT_EQ(settings.isEnabled, std::nullopt);
    EXPECT_TRUE(settings.isEnabled.value_or(true));
    EXPECT_TRUE(settings.advertiseWithBonjour.value_or(true));
    EXPECT_EQ(settings.securityProfile, std::nullopt);
}

TEST_F(ListenerSettings, WithoutARequiredMemberGiveTheWholeDefaultRecord)
{
    for (const char *name : {"aeTitle", "port", "syntax", "timeout"}) {
        EXPECT_EQ(loadStored(without(name)), DCMListenerSettings::recommended()) << name;
    }
}

TEST_F(ListenerSettings, WithAMemberOfAnotherTypeGiveTheWholeDefaultRecord)
{
    const QList<QByteArray> stored{with("aeTitle", 5),
                                   with("aeTitle", QJsonValue::Null),
                                   with("port", QStringLiteral("104")),
                                   with("port", 104.5),
                                   with("port", 1e12),
                                   with("timeout", true),
                                   with("timeout", QJsonValue::Null),
                                   with("isEnabled", 1),
                                   with("advertiseWithBonjour", QStringLiteral("true")),
                                   with("securityProfile", QStringLiteral("1")),
                                   with("verifyPeer", 0)};
    for (const QByteArray &bytes : stored) {
        EXPECT_EQ(loadStored(bytes), DCMListenerSettings::recommended()) << bytes.toStdString();
    }
}

TEST_F(ListenerSettings, WithAnUnknownSyntaxGiveTheWholeDefaultRecord)
{
    EXPECT_EQ(loadStored(with("syntax", 1)), DCMListenerSettings::recommended());
    EXPECT_EQ(loadStored(with("syntax", -2)), DCMListenerSettings::recommended());
}

TEST_F(ListenerSettings, PassOverUnknownMembersAndTakeNullForAbsent)
{
    EXPECT_EQ(loadStored(with("colour", QStringLiteral("red"))).port, 104);
    EXPECT_EQ(loadStored(with("isEnabled", QJsonValue::Null)).isEnabled, std::nullopt);
    EXPECT_EQ(loadStored(with("isEnabled", QJsonValue::Null)).port, 104);
    EXPECT_EQ(loadStored(with("port", 105.0)).port, 105);
}

TEST_F(ListenerSettings, ThatAreCorruptGiveTheDefaultRecordAndStayAsTheyAre)
{
    for (const QByteArray &bytes :
         {QByteArray("{\"aeTitle\":"), QByteArray("[]"), QByteArray(), QByteArray("\xff\xfe")}) {
        EXPECT_EQ(loadStored(bytes), DCMListenerSettings::recommended());
        EXPECT_EQ(defaults.object(kKey), QVariant(bytes)) << "nothing is repaired";
    }
    EXPECT_EQ(loadStored(QStringLiteral("text")), DCMListenerSettings::recommended());
}

TEST(AETitleForComputer, IsMadeFromTheFirstSixteenCharactersOfALongName)
{
    const QString name = QStringLiteral("radiology-workstation-on-the-third-floor");
    ASSERT_EQ(name.size(), 40);

    EXPECT_EQ(aeTitleForComputer(name), QStringLiteral("radiology-workst"));
}

TEST(AETitleForComputer, CutsBeforeItFormats)
{
    EXPECT_EQ(aeTitleForComputer(QStringLiteral("ÄÖÜ-workstation-on-the-third")),
              QStringLiteral("-workstation-"));
}

TEST(AETitleForComputer, HasAWordForAComputerWithoutAUsableName)
{
    EXPECT_EQ(aeTitleForComputer(QString()), QStringLiteral("mac"));
    EXPECT_EQ(aeTitleForComputer(QStringLiteral("東京")), QStringLiteral("mac"));
}

} // namespace gateway::core
