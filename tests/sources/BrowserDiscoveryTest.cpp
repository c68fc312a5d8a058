#include "sources/browsers/BrowserDiscovery.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "sources/browsers/BrowserProfiles.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

using Texts = std::vector<std::string>;

class BrowserDiscoveryTest : public testing::Test {
protected:
    // Empty files, and folders where the name ends with a slash.
    void make(const Texts& names) {
        for (const std::string& name : names) {
            if (name.ends_with('/')) {
                std::filesystem::create_directories(m_home.file(name));
            } else {
                m_home.write(name, "");
            }
        }
    }
    void link(const std::string& target, const std::string& name) {
        ASSERT_EQ(symlink(m_home.file(target).c_str(), m_home.file(name).c_str()), 0);
    }

    // "Browser, packaging, name: CLASS path"; paths below the home.
    Texts found() {
        Texts texts;
        for (const BrowserProfile& profile : browserProfiles(m_folders)) {
            std::string title = profile.browser;
            for (const std::string& part : {profile.packaging, profile.name}) {
                if (!part.empty()) title += ", " + part;
            }
            for (const BrowserSource& source : profile.sources) {
                texts.push_back(title + ": " + source.indexer + " " + belowHome(source.path));
            }
        }
        return texts;
    }
    std::string belowHome(const std::string& path) {
        const bool isBelow = path.starts_with(m_home.path() + "/");
        return isBelow ? path.substr(m_home.path().size() + 1) : path;
    }

    TemporaryFolder m_home;
    UserFolders m_folders = {.home = m_home.path(),
                             .config = m_home.file(".config"),
                             .cache = m_home.file(".cache"),
                             .data = m_home.file(".local/share")};
};

TEST_F(BrowserDiscoveryTest, EveryBrowserIsFoundInEachOfItsPlaces) {
    struct Row {
        std::string browser;
        std::string profiles;
        std::string caches;
    };
    const std::vector<Row> firefox = {
        {"Firefox", ".mozilla/firefox", ".cache/mozilla/firefox"},
        {"Firefox, Snap", "snap/firefox/common/.mozilla/firefox",
         "snap/firefox/common/.cache/mozilla/firefox"},
        {"Firefox, Flatpak", ".var/app/org.mozilla.firefox/.mozilla/firefox",
         ".var/app/org.mozilla.firefox/cache/mozilla/firefox"},
        {"LibreWolf", ".librewolf", ".cache/librewolf"},
        {"LibreWolf, Flatpak", ".var/app/io.gitlab.librewolf-community/.librewolf",
         ".var/app/io.gitlab.librewolf-community/cache/librewolf"}};
    const std::vector<Row> newer = {
        {"Firefox", ".config/mozilla/firefox", ".cache/mozilla/firefox"},
        {"LibreWolf", ".config/librewolf/librewolf", ".cache/librewolf"}};
    const std::vector<Row> chrome = {
        {"Chromium", ".config/chromium", ".cache/chromium"},
        {"Chromium, Snap", "snap/chromium/common/chromium", "snap/chromium/common/.cache/chromium"},
        {"Chromium, Flatpak", ".var/app/org.chromium.Chromium/config/chromium",
         ".var/app/org.chromium.Chromium/cache/chromium"},
        {"Google Chrome", ".config/google-chrome", ".cache/google-chrome"},
        {"Google Chrome Beta", ".config/google-chrome-beta", ".cache/google-chrome-beta"},
        {"Google Chrome Dev", ".config/google-chrome-unstable", ".cache/google-chrome-unstable"},
        {"Google Chrome, Flatpak", ".var/app/com.google.Chrome/config/google-chrome",
         ".var/app/com.google.Chrome/cache/google-chrome"},
        {"Brave", ".config/BraveSoftware/Brave-Browser", ".cache/BraveSoftware/Brave-Browser"},
        {"Brave, Snap", "snap/brave/current/.config/BraveSoftware/Brave-Browser",
         "snap/brave/current/.cache/BraveSoftware/Brave-Browser"},
        {"Brave, Flatpak", ".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser",
         ".var/app/com.brave.Browser/cache/BraveSoftware/Brave-Browser"},
        {"Vivaldi", ".config/vivaldi", ".cache/vivaldi"},
        {"Vivaldi, Snap", "snap/vivaldi/current/.config/vivaldi",
         "snap/vivaldi/common/.cache/vivaldi"},
        {"Microsoft Edge", ".config/microsoft-edge", ".cache/microsoft-edge"},
        {"Microsoft Edge Beta", ".config/microsoft-edge-beta", ".cache/microsoft-edge-beta"},
        {"Opera", ".config/opera", ".cache/opera"}};
    const std::vector<Row> others = {
        {"GNOME Web: EpiphanyHistory", ".local/share/epiphany/ephy-history.db", ""},
        {"GNOME Web, Flatpak: EpiphanyHistory",
         ".var/app/org.gnome.Epiphany/data/epiphany/ephy-history.db", ""},
        {"Falkon, default: FalkonHistory", ".config/falkon/profiles/default/browsedata.db", ""},
        {"qutebrowser: QutebrowserHistory", ".local/share/qutebrowser/history.sqlite", ""}};
    Texts expected;
    const auto addFirefox = [&](const std::vector<Row>& rows, const std::string& profile) {
        for (const auto& [browser, profiles, caches] : rows) {
            const std::string places = profiles + "/" + profile + "/places.sqlite";
            make({places, caches + "/" + profile + "/cache2/"});
            const std::string title = browser + ", work: Firefox";
            expected.push_back(title + "Cache " + caches + "/" + profile + "/cache2");
            expected.push_back(title + "History " + places);
            expected.push_back(title + "Bookmarks " + places);
        }
    };
    addFirefox(firefox, "x5k2p9qa.work");
    addFirefox(newer, "zzzzzzzz.work");
    for (const auto& [browser, profiles, caches] : chrome) {
        const std::string profile = profiles + "/Default/";
        make({profile + "History", profile + "Bookmarks", caches + "/Default/Cache/Cache_Data/"});
        expected.push_back(browser + ", Default: ChromeCache " + caches + "/Default/Cache");
        expected.push_back(browser + ", Default: ChromeHistory " + profile + "History");
        expected.push_back(browser + ", Default: URLExtractor " + profile + "Bookmarks");
    }
    for (const auto& [title, file, none] : others) {
        make({file});
        expected.push_back(title + " " + file);
    }
    EXPECT_THAT(found(), UnorderedElementsAreArray(expected));
}

TEST_F(BrowserDiscoveryTest, OtherBaseFoldersAreFollowedAndNothingIsMadeUp) {
    make({"c/chromium/Default/History", "k/chromium/Default/Cache/", "d/epiphany/ephy-history.db",
          "c/chromium/Local State/", "c/chromium/Default/Bookmarks/", "c/chromium/Crashes/x",
          "c/chromium/Guest Profile/History", "c/chromium/a/b/History",
          ".config/vivaldi/Default/History", "c/opera/Default/Preferences"});
    m_folders = {m_home.path(), m_home.file("c"), m_home.file("k"), m_home.file("d")};
    EXPECT_THAT(found(), ElementsAre("Chromium, Default: ChromeCache k/chromium/Default/Cache",
                                     "Chromium, Default: ChromeHistory c/chromium/Default/History",
                                     "GNOME Web: EpiphanyHistory d/epiphany/ephy-history.db"));
    m_folders = {};
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(BrowserDiscoveryTest, TheListOfProfilesSaysWhereTheyAreAndWhatTheyAreCalled) {
    make({".mozilla/firefox/a.x/places.sqlite", ".mozilla/firefox/forgotten/places.sqlite",
          ".cache/mozilla/firefox/a.x/cache2/", "elsewhere/b/places.sqlite", "elsewhere/b/cache2/",
          "outside/places.sqlite", ".mozilla/outside/places.sqlite"});
    m_home.write(".mozilla/firefox/profiles.ini",
                 "[General]\nPath=forgotten\n[Profile0]\nName=work\nIsRelative=1\r\nPath=a.x\r\n"
                 "[Profile1]\nIsRelative=0\nPath=" +
                     m_home.file("elsewhere/b") +
                     "\nName=  far\taway \n[Profile2]\nPath=../outside\n"
                     "[Profile3]\nIsRelative=1\nPath=" +
                     m_home.file("outside") +
                     "\n[Profile4]\nIsRelative=0\nPath=outside\n[Profile5]\nPath=gone\n"
                     "[Install1]\nPath=forgotten\n[Profile6]\nPath=a.x/../../outside");
    EXPECT_THAT(found(),
                ElementsAre("Firefox, work: FirefoxCache .cache/mozilla/firefox/a.x/cache2",
                            "Firefox, work: FirefoxHistory .mozilla/firefox/a.x/places.sqlite",
                            "Firefox, work: FirefoxBookmarks .mozilla/firefox/a.x/places.sqlite",
                            "Firefox, far away: FirefoxCache elsewhere/b/cache2",
                            "Firefox, far away: FirefoxHistory elsewhere/b/places.sqlite",
                            "Firefox, far away: FirefoxBookmarks elsewhere/b/places.sqlite"));
    m_home.write(".mozilla/firefox/profiles.ini", "");
    EXPECT_THAT(found(), SizeIs(5)) << "without a list, the folders count";
}

TEST_F(BrowserDiscoveryTest, ChromeProfilesBearTheNamesThatTheirUserGaveThem) {
    make({".config/chromium/Default/History", ".config/chromium/Profile 1/History",
          ".config/chromium/Profile 2/History"});
    m_home.write(".config/chromium/Local State",
                 R"({"profile":{"info_cache":{"Default":{"name":"Person 1","x":[{}]},)"
                 R"("Profile 1":{"name":"Work\n\u00e9"},"Profile 2":{"name":7},"Gone":[]}}})");
    EXPECT_THAT(
        found(),
        ElementsAre("Chromium, Person 1: ChromeHistory .config/chromium/Default/History",
                    "Chromium, Work é: ChromeHistory .config/chromium/Profile 1/History",
                    "Chromium, Profile 2: ChromeHistory .config/chromium/Profile 2/History"));
}

TEST_F(BrowserDiscoveryTest, OperaMayKeepOneProfileInTheFolderItself) {
    make({".config/opera/History", ".config/opera/Bookmarks", ".cache/opera/Cache/",
          ".config/opera/Default/History", ".config/opera/Default/Cache/"});
    EXPECT_THAT(found(),
                ElementsAre("Opera, opera: ChromeCache .cache/opera/Cache",
                            "Opera, opera: ChromeHistory .config/opera/History",
                            "Opera, opera: URLExtractor .config/opera/Bookmarks",
                            "Opera, Default: ChromeCache .config/opera/Default/Cache",
                            "Opera, Default: ChromeHistory .config/opera/Default/History"));
}

TEST_F(BrowserDiscoveryTest, WhatSeveralWaysLeadToIsFoundOnce) {
    make({".mozilla/firefox/a.x/places.sqlite", "snap/chromium/common/chromium/Default/History",
          ".config/mozilla/", ".config/chromium/", ".config/chromium/Old/History"});
    link(".mozilla/firefox", ".config/mozilla/firefox");
    link("snap/chromium/common/chromium/Default", ".config/chromium/Default");
    link(".config/chromium", ".config/chromium/Loop");
    m_home.write(".mozilla/firefox/profiles.ini",
                 "[Profile0]\nPath=a.x\n[Profile1]\nIsRelative=0\nPath=" +
                     m_home.file(".config/mozilla/firefox/./a.x"));
    EXPECT_THAT(found(),
                ElementsAre("Firefox, x: FirefoxHistory .mozilla/firefox/a.x/places.sqlite",
                            "Firefox, x: FirefoxBookmarks .mozilla/firefox/a.x/places.sqlite",
                            "Chromium, Default: ChromeHistory .config/chromium/Default/History",
                            "Chromium, Old: ChromeHistory .config/chromium/Old/History"));
}

TEST_F(BrowserDiscoveryTest, EndlessListsAreReadToABound) {
    std::string ini;
    for (int i = 0; i < 5000; ++i) ini += "[Profile]\nPath=p" + std::to_string(i) + "\n";
    EXPECT_THAT(profilesInIni(ini), SizeIs(kMaxBrowserProfiles));
    const std::string deep(1 << 18, '[');
    EXPECT_THAT(profileNamesInLocalState(deep), IsEmpty());
    EXPECT_THAT(profileNamesInLocalState("{\"profile\":{\"info_cache\":" + deep), IsEmpty());
    EXPECT_EQ(profileName(" a\xFF\n\x7F"), "a\uFFFD");
    EXPECT_LE(profileName(std::string(1000, '\xFF')).size(), 64U);
}

}  // namespace
}  // namespace siftwell
