// ScanCycleFixture: the scan cycle over a real store and retriever, with indexers that do what a
// test says, in virtual time.
#pragma once

#include <functional>
#include <map>

#include "app/RegisteredDefaults.h"
#include "app/ScanCycle.h"
#include "retrieval/RetrieverFixture.h"

namespace siftwell {

class ScriptedAlerts : public Alerts {
public:
    std::size_t ask(const Alert& alert, std::size_t safeAnswer) override {
        titles.push_back(alert.title);
        return answer.value_or(safeAnswer);
    }

    std::optional<std::size_t> answer;
    std::vector<std::string> titles;
};

// Does what the test says, with the record of its item.
class ScriptedIndexer : public SiftwellIndexer {
public:
    using Script = std::function<void(SearchItemRecord& record)>;

    ScriptedIndexer(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> item,
                    Script script)
        : SiftwellIndexer(surroundings, item, "Scripted"),
          m_record(std::move(item)),
          m_script(std::move(script)) {}

    void performIndexingScan() override { m_script(*m_record); }

private:
    const std::shared_ptr<SearchItemRecord> m_record;
    const Script m_script;
};

class ScanCycleFixture : public RetrieverFixture {
protected:
    using Script = ScriptedIndexer::Script;

    ScanCycleFixture() {
        auto defaults = registeredDefaults(m_clock.now());
        defaults["SearchItems"] = PropertyList::Array{};
        m_settings->registerDefaults(std::move(defaults));
        watch("SiftwellIndexingDoneNotification", [this](const PropertyList&) { ++m_scansTold; });
        watch("SiftwellErrorNotification", [this](const PropertyList& record) {
            m_severities.push_back(integerFor(*record.asDictionary(), "severity").value_or(0));
        });
        start(Access::ReadWrite);
    }
    ~ScanCycleFixture() override {
        if (m_cycle != nullptr) {
            store().disableIndexing();
            m_cycle->stop(std::chrono::seconds(10));
        }
        m_cycle.reset();
    }

    ScanCycle& cycle() {
        if (m_cycle == nullptr) {
            m_cycle = std::make_unique<ScanCycle>(ScanCycle::Surroundings{
                .indexes = store(),
                .retriever = retriever(),
                .notifier = m_notifier,
                .centre = m_centre,
                .settings = *m_settings,
                .preferences = m_preferences,
                .mainLoop = m_loop,
                .clock = m_clock,
                .alerts = m_alerts,
                .network = m_activity,
                .makeIndexer = [this](const std::string& className,
                                      std::shared_ptr<SearchItemRecord> item)
                    -> std::unique_ptr<SiftwellIndexer> {
                    const auto script = m_scripts.find(className);
                    if (script == m_scripts.end()) return nullptr;
                    return std::make_unique<ScriptedIndexer>(
                        SiftwellIndexer::Surroundings{store(), retriever(), m_notifier, *m_settings,
                                                      m_paths, m_clock, m_indexerLocks},
                        std::move(item), script->second);
                },
                .cacheScans = m_indexerLocks.cacheScans,
                .checkForUpdate = [this] { ++m_updateChecks; },
                .cameToRest = [this] { ++m_rests; },
                .emptyURLCache = [this] { ++m_cachePurges; },
                .downloadWait = std::chrono::milliseconds(1)});
        }
        return *m_cycle;
    }

    // An item that is on, with an indexer of its own.
    SearchItem& item(const std::string& name, Script script) {
        m_scripts[name] = std::move(script);
        auto& items = m_preferences.mutableSearchItemsArray();
        items.push_back({.Name = name,
                         .Index = true,
                         .Search = true,
                         .LastScanDate = Date::distantPast(),
                         .Path = "/" + name,
                         .Indexer = name});
        return items.back();
    }
    static Script succeed() {
        return [](SearchItemRecord& record) {
            record.change([](SearchItem& item) { item.ScanResult = 0; });
        };
    }
    static Script fail(const std::string& name, const std::string& reason = "Why.") {
        return [=](SearchItemRecord&) { throw NamedException(name, reason); };
    }

    // The item as it is stored now.
    const SearchItem* stored(const std::string& name) {
        for (const SearchItem& each : m_preferences.mutableSearchItemsArray()) {
            if (each.Name == name) return &each;
        }
        return nullptr;
    }

    void waitForScan() {
        while (cycle().indexerRunning()) {
            m_loop.drain();
            std::this_thread::yield();
        }
        m_loop.drain();
    }
    void scan() {
        cycle().indexNow();
        waitForScan();
    }
    // Lets timers fire until so many seconds are over; each scan ends before the next.
    void live(double seconds) {
        const Date end = m_clock.now() + seconds;
        while (m_clock.now() < end) {
            waitForScan();
            m_loop.turn(std::chrono::milliseconds(
                static_cast<std::int64_t>((end - m_clock.now()) * 1000) + 1));
        }
        waitForScan();
    }

    ScriptedAlerts m_alerts;
    NetworkActivity m_activity{m_clock};
    IndexerLocks m_indexerLocks;
    PrefsController m_preferences{*m_settings};
    std::map<std::string, Script> m_scripts;  // by indexer class, which is the item's name
    std::vector<std::int64_t> m_severities;
    int m_scansTold = 0;
    int m_updateChecks = 0;
    int m_cachePurges = 0;
    int m_rests = 0;
    std::unique_ptr<ScanCycle> m_cycle;
};

}  // namespace siftwell
