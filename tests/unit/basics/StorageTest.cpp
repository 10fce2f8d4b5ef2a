#include "storage/Storage.h"
#include "support/CapturedOutput.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

using Storage::Setting;
using Storage::StorageMng;

namespace {

class StorageTest : public testing::Test
{
protected:
    /// Loads a file of that content; what it prints is in `printed`.
    bool load(const std::string& content)
    {
        bool loaded = false;
        const std::string path = folder.file("in.xml", content);
        printed = standardOutputOf([&] { loaded = storage.load(path); });
        return loaded;
    }

    TemporaryFolder folder;
    StorageMng storage;
    std::string printed;
};

} // namespace

TEST_F(StorageTest, SectionsAndValuesOfAFile)
{
    ASSERT_TRUE(load(
        "<whatever><other/>text<BLL v='1 &lt; &#50;'><!-- c --><A n='first'/>text<B/><A n='second'/></BLL>"
        "<BLL v='later'/></whatever>"));
    EXPECT_EQ(printed, "");
    const auto bll = storage.getRoot("BLL");
    ASSERT_TRUE(bll);
    EXPECT_EQ(bll->getValue("v"), "1 < 2");
    EXPECT_EQ(bll->getValue("absent"), "");
    EXPECT_FALSE(bll->getSubSetting("C"));

    auto element = bll->getSubSetting("A");
    ASSERT_TRUE(element);
    EXPECT_EQ(element->getValue("n"), "first");
    element = element->getNext(); // past the text, and whatever the name
    ASSERT_TRUE(element);
    EXPECT_EQ(element->getValue("n"), "");
    element = element->getNext();
    ASSERT_TRUE(element);
    EXPECT_EQ(element->getValue("n"), "second");
    EXPECT_FALSE(element->getNext());
}

TEST_F(StorageTest, WhatIsSavedComesBack)
{
    const std::string odd = "\"<&>'\xC3\xA4\t\n\r\xF0\x9F\x98\x80\xEF\xBF\xBD";
    EXPECT_FALSE(storage.getRoot("any"));
    const auto root = storage.addRoot("dhcpra");
    ASSERT_TRUE(root);
    root->setValue("name", "\"<&>'\xC3\xA4");
    root->setValue("odd", odd);
    root->setValue("odd", "a second one stays behind the first");
    const auto child = root->addSubSetting("child");
    ASSERT_TRUE(child);
    child->setValue("depth", "2");
    EXPECT_EQ(root->getValue("odd"), odd);

    printed = standardOutputOf([&] { EXPECT_TRUE(storage.save(folder.path("out.xml"))); });
    const std::string content = folder.read("out.xml");
    EXPECT_EQ(printed,
              "StorageMng::save(): Success! " + std::to_string(content.size()) + "Bytes was written.\n");
    EXPECT_TRUE(content.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<Configuration>\n"
                                    "  <dhcpra name=\"&quot;&lt;&amp;&gt;'\xC3\xA4\" odd=\""))
        << content;
    EXPECT_TRUE(content.ends_with("\" odd=\"a second one stays behind the first\">\n"
                                  "    <child depth=\"2\"/>\n"
                                  "  </dhcpra>\n"
                                  "</Configuration>\n"))
        << content;
}

TEST_F(StorageTest, ControlCharactersOfXmlComeBack)
{
    const std::string odd = "\"<&>'\t\n\r\xF0\x9F\x98\x80\xEF\xBF\xBD";
    storage.addRoot("x")->addSubSetting("y")->setValue("a", odd);
    ASSERT_TRUE(storage.save(folder.path("out.xml")));
    ASSERT_TRUE(storage.load(folder.path("out.xml")));
    EXPECT_EQ(storage.getRoot("x")->getSubSetting("y")->getValue("a"), odd);
}

namespace {
const std::string saveFailed = "StorageMng::save(): error during saving the xml filen";
} // namespace

/// Whatever load() would not read again is refused when it is saved, and the file stays.
TEST_F(StorageTest, BadDocumentsAreRefusedAtSave)
{
    const std::string badValue = "control characters or broken UTF-8 in a value of a\n";
    const std::string badName = "a name that XML does not allow\n";
    const struct
    {
        std::string element, attribute, value, told;
    } documents[] = {
        {"e", "a", "\x1f", badValue},
        {"e", "a", std::string("a\0b", 3), badValue},
        {"e", "a", "\xC3(", badValue},
        {"e", "a", "\xA4\xA4", badValue},     // no first byte
        {"e", "a", "\xE2\x82", badValue},     // cut
        {"e", "a", "\xC1\x81", badValue},     // longer than needed
        {"e", "a", "\xED\xA0\x80", badValue}, // a surrogate
        {"no name", "a", "1", badName},
        {"e", "\x01", "1", badName},
        {"e", "a\xB9", "1", badName},
        {"e", "xml:a", "1", badName},
        {"e", "a", std::string(Storage::largestSettingsFile, 'x'), "the document is too large\n"},
    };
    const std::string path = folder.file("out.xml", "<old/>");
    for (const auto& [element, attribute, value, told] : documents) {
        StorageMng fresh;
        fresh.addRoot("fine")->addSubSetting(element)->setValue(attribute, value);
        printed = standardOutputOf([&] { EXPECT_FALSE(fresh.save(path)); });
        EXPECT_EQ(printed, "StorageMng::save(): " + told + saveFailed) << element << attribute;
        EXPECT_EQ(folder.read("out.xml"), "<old/>");
    }
}

TEST_F(StorageTest, WhatCannotBeWrittenIsAnError)
{
    for (const std::string& path : {folder.path("no/out.xml"), std::string("/dev/full")}) {
        printed = standardOutputOf([&] { EXPECT_FALSE(storage.save(path)); });
        EXPECT_EQ(printed, saveFailed);
    }
    EXPECT_TRUE(storage.save("/dev/null"));
    EXPECT_FALSE(std::filesystem::is_regular_file("/dev/null"));
}

TEST_F(StorageTest, LinksAndPermissionsOfTheFileStay)
{
    namespace fs = std::filesystem;
    const std::string path = folder.file("real.xml", "<old/>");
    fs::permissions(path, fs::perms::owner_read);
    fs::create_symlink("real.xml", folder.path("link.xml"));
    ASSERT_TRUE(storage.save(folder.path("link.xml")));
    EXPECT_TRUE(fs::is_symlink(folder.path("link.xml")));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read);
    EXPECT_TRUE(storage.load(path));
}

TEST_F(StorageTest, AFileIsWholeWheneverItsWriterIsKilled)
{
    const std::string path = folder.file("out.xml", "<old/>");
    const auto root = storage.addRoot("x");
    for (int i = 0; i < 5000; ++i)
        root->addSubSetting("child")->setValue("number", std::to_string(i));
    for (int round = 0; round < 60; ++round) {
        const pid_t writer = fork();
        if (writer == 0) {
            close(STDOUT_FILENO);
            while (storage.save(path)) {
            }
            _exit(1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500 + 217 * round));
        kill(writer, SIGKILL);
        int status = 0;
        waitpid(writer, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        StorageMng reader;
        ASSERT_TRUE(reader.load(path)) << "torn in round " << round;
    }
}

TEST_F(StorageTest, AFailedLoadLeavesNoDocument)
{
    const std::string path = folder.path("absent.xml");
    printed = standardOutputOf([&] { EXPECT_FALSE(storage.load(path)); });
    EXPECT_EQ(printed, "StorageMng::load(): could not parse file " + path + "\n");

    printed = standardOutputOf([&] {
        EXPECT_FALSE(storage.getRoot("x"));
        EXPECT_FALSE(storage.addRoot("x"));
        EXPECT_FALSE(storage.save(folder.path("out.xml")));
    });
    EXPECT_EQ(printed, "StorageMng::getRoot(): there are no document loaded yet\n"
                       "StorageMng::addRoot(): there are no document to add root\n"
                       "StorageMng::save(): there are no document to save\n");

    EXPECT_TRUE(load("<a/>")); // and it can be used again
}

TEST_F(StorageTest, AnEmptySettingSaysSoAndAnswersNothing)
{
    Setting empty;
    printed = standardOutputOf([&] {
        EXPECT_EQ(empty.getValue("a"), "");
        empty.setValue("a", "b");
        EXPECT_FALSE(empty.getSubSetting("a"));
        EXPECT_FALSE(empty.getNext());
        EXPECT_FALSE(empty.addSubSetting("a"));
    });
    EXPECT_EQ(printed, "Setting::getValue(): node = 0\nSetting::setValue(): node = 0\n"
                       "Setting::getSubSetting(): node = 0\nSetting::getNext(): node = 0\n"
                       "Setting::addSubSetting(): node = 0\n");
}

namespace {

std::string entityBomb(const std::string& use)
{
    std::string bomb = "<!DOCTYPE x [<!ENTITY a0 \"0123456789\">";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY a" + std::to_string(i) + " \"";
        for (int n = 0; n < 10; ++n)
            bomb += "&a" + std::to_string(i - 1) + ";";
        bomb += "\">";
    }
    return bomb + "]>" + use;
}

std::string deepTree(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    return text;
}

} // namespace

TEST_F(StorageTest, BadFilesEndInOneLineWithinASecond)
{
    std::vector<std::string> paths;
    for (const std::string& content :
         {std::string(), std::string("BLL=1\n"), std::string("<a><BLL><BOARD Id=\"QX"),
          std::string("<a><b></a>"), std::string(4096, '\0'), std::string("<a b=\"&nothing;\"/>"),
          deepTree(20'000), entityBomb("<x v='&a11;'/>"), entityBomb("<x>&a11;</x>"),
          "<a>" + std::string(Storage::largestSettingsFile, ' ') + "</a>"})
        paths.push_back(folder.file("bad" + std::to_string(paths.size()), content));
    paths.insert(paths.end(), {folder.path("fifo"), folder.path("."), "/dev/zero"}); // no regular files
    ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
    for (const std::string& path : paths) {
        const auto start = std::chrono::steady_clock::now();
        printed = standardOutputOf([&] { EXPECT_FALSE(storage.load(path)); });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << path;
        EXPECT_EQ(printed, "StorageMng::load(): could not parse file " + path + "\n");
    }
}

/// A document type or an entity elsewhere is not fetched, neither from a file nor from the network.
TEST_F(StorageTest, OutsideReferencesAreNotFollowed)
{
    const std::string secret = folder.file("secret", "secret");
    ASSERT_TRUE(load("<!DOCTYPE x SYSTEM \"http://192.0.2.1/x.dtd\" [<!ENTITY e SYSTEM \"" + secret +
                     "\">]><x><BLL v='1'>&e;</BLL></x>"));
    static_cast<void>(storage.save(folder.path("out.xml")));
    const std::string content = folder.read("out.xml");
    EXPECT_EQ(content.find(">secret<"), std::string::npos);
    EXPECT_NE(content.find(">&e;<"), std::string::npos);
}
