#include "index/Admission.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

class AdmissionTest : public IndexFixture {
protected:
    Verdict judge(const std::string& address) const { return m_admission.judge(url(address)); }
    void prefer(const std::string& key, PropertyList value) {
        m_settings->set(key, std::move(value));
        m_admission.applyPreferences();
    }
    static PropertyList filter(const char* text, bool isEnabled) {
        return PropertyList::Dictionary{{"String", text}, {"Enabled", isEnabled}};
    }

    Admission m_admission{*m_settings};
};

TEST_F(AdmissionTest, FirstRuleDecides) {
    prefer("URLFilters", PropertyList::Array{filter("/ads/", true), filter("shop", false),
                                             filter("", true), "no filter"});
    const std::map<Verdict, std::vector<std::string>> verdicts = {
        {Verdict::NotAnAddress, {"mailto:a@b", "/relative/path"}},
        {Verdict::SchemeRefused, {"ftp://host/a.jpg", "FTP://host/", "safari-extension://x/y"}},
        {Verdict::ExtensionFiltered, {"http://host/A.JpG"}},
        {Verdict::ExtractorsOff, {"http://host/a.PDF"}},
        {Verdict::Filtered, {"http://host/ADS/x", "http://host/?q=/ads/"}},
        {Verdict::Accepted, {"http://shop", "feed://host/ads/a.jpg"}}};
    for (const auto& [verdict, addresses] : verdicts) {
        for (const auto& address : addresses) EXPECT_EQ(judge(address), verdict) << address;
    }
    prefer("URLFilters", PropertyList::Array());
    EXPECT_EQ(judge("http://host/ADS/x"), Verdict::Accepted);
    m_admission.addFailedURL(url("http://host/ADS/x"));
    EXPECT_EQ(judge("http://host/ADS/x"), Verdict::FailedBefore);
    EXPECT_EQ(judge("http://host/ADS/y"), Verdict::Accepted);
}

TEST_F(AdmissionTest, ExtractorIsNeededByTheExtensionAsItStandsButAdmissionKnowsItInAnyCase) {
    EXPECT_FALSE(m_admission.extractorNeededForURL(url("file:///a.pdf")));
    EXPECT_FALSE(m_admission.isReadableFile(url("file:///a.pdf")));
    prefer("UseContentExtractors", true);
    EXPECT_EQ(judge("file:///a.PDF"), Verdict::Accepted);
    EXPECT_TRUE(m_admission.isReadableFile(url("file:///a.PDF")));
    EXPECT_TRUE(m_admission.extractorNeededForURL(url("file:///a.pdf")));
    EXPECT_FALSE(m_admission.extractorNeededForURL(url("file:///a.PDF")));
    EXPECT_FALSE(m_admission.extractorNeededForURL(url("http://host/a.pdf")));
    EXPECT_TRUE(m_admission.isReadableFile(url("http://host/x.y/A.TXT")));
    EXPECT_FALSE(m_admission.isReadableFile(url("http://host/txt")));
    EXPECT_FALSE(m_admission.allowsAuthorization());
    prefer("IndexProtectedPages", 2);
    EXPECT_TRUE(m_admission.allowsAuthorization());
}

TEST_F(AdmissionTest, StoreReadsItsRulesAnewWhenThePreferencesChange) {
    EXPECT_TRUE(store().canProcessURL(url("http://host/ads/")));
    m_settings->set("URLFilters", PropertyList::Array{filter("/ads/", true)});
    EXPECT_TRUE(store().canProcessURL(url("http://host/ads/")));
    m_centre.post("SiftwellPreferenceChangeNotification", {});
    EXPECT_FALSE(store().canProcessURL(url("http://host/ads/")));
}

}  // namespace
}  // namespace siftwell
