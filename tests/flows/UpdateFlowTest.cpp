// Whole updates through the installed service, the loaded bundle and a web server.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "tests/flows/StagedSuite.h"

#include <gtest/gtest.h>

namespace {

class UpdateFlow : public ::testing::Test {
protected:
    const QStringList kUpdate {"--update", "--unattended"};

    void SetUp() override
    {
        m_suite.publishServiceUpToDate();
        m_sketch = m_suite.install("Applications/Sketch.app", "Sketch");
    }

    std::string sketchVersion() const { return StagedSuite::versionOf(m_sketch); }

    /// A service in the middle of a download that gets no further.
    std::unique_ptr<QProcess> startDownload()
    {
        m_suite.publish("Sketch", m_sketch);
        ServerScript part;
        part.send(answer::head(200, {"Content-Length: 100000"}) + "part").stall();
        m_suite.server().on(StagedSuite::archivePath("Sketch"), part);
        auto service = m_suite.start(kUpdate);
        EXPECT_TRUE(m_suite.server().waitForRequests(3)); // two descriptors and the archive
        return service;
    }

    StagedSuite m_suite;
    std::filesystem::path m_sketch;
};

std::string commonBy(
    const std::string& element, const std::string& attributes, const std::filesystem::path& place)
{
    const std::string blocks = element == "SECTION" ? "SECTIONS" : "DEPENDENCIES";
    return "<" + blocks + "><" + element + " " + attributes + " version=\"2.0\" location=\"" + place.string()
        + "\"/></" + blocks + ">";
}

} // namespace

TEST_F(UpdateFlow, UpdatesAProductThroughItsPackage)
{
    m_suite.publish("Sketch", m_sketch);
    const ServiceResult result = m_suite.run(kUpdate);
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_EQ(sketchVersion(), "2.0.0.0");
}

TEST_F(UpdateFlow, UpdatesWhatASectionAndADependencyPointAt)
{
    const auto common = m_suite.install("Library/Frameworks/Common.bundle", "Common", false);
    const auto codec = m_suite.install("Library/Frameworks/Codec.bundle", "Codec", false);
    const auto table = m_suite.install("Applications/Table.app", "Table");
    m_suite.publish("Common", common, "common");
    m_suite.publish("Codec", codec, "common");
    m_suite.publish(
        "Sketch", m_sketch, "app", commonBy("SECTION", "section=\"1\"", "%VelCommon%/Common.bundle"));
    m_suite.publish(
        "Table", table, "app", commonBy("DEPENDENCY", "type=\"common\"", "%VelCommon%/Codec.bundle"));
    const ServiceResult result = m_suite.run(kUpdate);
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    for (const auto& bundle : {m_sketch, table, common, codec})
        EXPECT_EQ(StagedSuite::versionOf(bundle), "2.0.0.0") << bundle;
}

TEST_F(UpdateFlow, UpdatesTheServiceAloneAndStartsItAgainFromItsNewBundle)
{
    const auto mark = m_suite.home().folder().at("started");
    m_suite.publishServiceUpdate("#!/bin/sh\nprintf '%s' \"$0\" > '" + mark.string() + ".new' && mv '"
        + mark.string() + ".new' '" + mark.string() + "'\n");
    m_suite.publish("Sketch", m_sketch);
    const ServiceResult result = m_suite.run(kUpdate);
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_EQ(StagedSuite::versionOf(m_suite.app()), "2.0.0.0");
    EXPECT_EQ(sketchVersion(), "1.0.0.0") << "the service's own update comes first";
    // The new program runs by itself: its mark may come a moment later.
    for (int i = 0; i < 200 && !std::filesystem::exists(mark); ++i)
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false);
    EXPECT_EQ(readWholeFile(mark), (m_suite.app() / "Contents/Linux/TandemService").string());
}

TEST_F(UpdateFlow, HasNothingToOfferTheSecondTime)
{
    m_suite.publish("Sketch", m_sketch);
    ASSERT_EQ(m_suite.run(kUpdate).status, 0);
    m_suite.server().on("/u/Update_Sketch_2.0.0.0_eng_Mac.xml", answer::status(404));
    EXPECT_EQ(m_suite.run(kUpdate).status, 1);
    EXPECT_EQ(sketchVersion(), "2.0.0.0");
}

TEST_F(UpdateFlow, CheckPrintsTheMessageAndChangesNothing)
{
    m_suite.publish("Sketch", m_sketch);
    const ServiceResult result = m_suite.run({"--check"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find("Sketch"), std::string::npos) << result.output;
    EXPECT_EQ(sketchVersion(), "1.0.0.0");
}

TEST_F(UpdateFlow, CheckPrintsNothingWhenThereIsNothing)
{
    m_suite.server().on(StagedSuite::descriptorPath("Sketch"), answer::status(404));
    const ServiceResult result = m_suite.run({"--check"});
    EXPECT_EQ(result.status, 1) << result.errors;
    EXPECT_EQ(result.output, "");
}

TEST_F(UpdateFlow, CannotRunWithoutThePlugin)
{
    std::filesystem::remove_all(m_suite.app() / "Contents/PlugIns");
    EXPECT_EQ(m_suite.run({"--check"}).status, 2);
    EXPECT_EQ(m_suite.run(kUpdate).status, 2);
}

TEST_F(UpdateFlow, LoadsThePluginThatItIsToldTo)
{
    const auto other = m_suite.home().folder().at("Other.bundle");
    std::filesystem::rename(m_suite.app() / "Contents/PlugIns/Update.bundle", other);
    m_suite.publish("Sketch", m_sketch);
    const ServiceResult result = m_suite.run({"--check", "--plugin", QString::fromStdString(other.string())});
    EXPECT_EQ(result.status, 0) << result.errors;
}

TEST_F(UpdateFlow, LeavesTheProductAsItWasWhenADownloadFails)
{
    m_suite.publish("Sketch", m_sketch);
    m_suite.server().on(StagedSuite::archivePath("Sketch"), answer::status(503));
    const ServiceResult result = m_suite.run(kUpdate);
    EXPECT_EQ(result.status, 4) << result.output << result.errors;
    EXPECT_NE(result.output.find("Velmora Tandem: "), std::string::npos) << "the alert is printed";
    EXPECT_EQ(sketchVersion(), "1.0.0.0");
}

TEST_F(UpdateFlow, LeavesTheProductAsItWasWhenTheArchiveIsDamaged)
{
    m_suite.publish("Sketch", m_sketch);
    m_suite.server().on(StagedSuite::archivePath("Sketch"), answer::ok("PK but no archive"));
    EXPECT_EQ(m_suite.run(kUpdate).status, 4);
    EXPECT_EQ(sketchVersion(), "1.0.0.0");
}

TEST_F(UpdateFlow, EndsInTheMiddleOfADownloadWhenItIsToldTo)
{
    const auto service = startDownload();
    service->terminate();
    const ServiceResult result = StagedSuite::finish(*service);
    EXPECT_EQ(result.status, 3) << result.output << result.errors;
    EXPECT_EQ(sketchVersion(), "1.0.0.0");
}

TEST_F(UpdateFlow, EndsWithItsSelectionWindowOpenWhenItIsToldTo)
{
    m_suite.publish("Sketch", m_sketch);
    const auto service = m_suite.start({"--update"}); // nobody answers the window
    ASSERT_TRUE(service->waitForReadyRead(60000)) << "the message is printed before the window opens";
    service->terminate();
    const ServiceResult result = StagedSuite::finish(*service);
    EXPECT_EQ(result.status, 3) << result.output << result.errors;
    EXPECT_EQ(sketchVersion(), "1.0.0.0");
}

TEST_F(UpdateFlow, UpdatesAfterARunThatWasKilledInTheMiddleOfADownload)
{
    const auto service = startDownload();
    service->kill();
    ASSERT_TRUE(service->waitForFinished(10000));
    ASSERT_EQ(sketchVersion(), "1.0.0.0");

    m_suite.publish("Sketch", m_sketch);
    const ServiceResult result = m_suite.run(kUpdate);
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_EQ(sketchVersion(), "2.0.0.0");
}
