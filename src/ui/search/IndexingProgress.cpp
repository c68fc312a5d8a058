#include "ui/search/IndexingProgress.h"

#include <QHBoxLayout>
#include <QLocale>
#include <algorithm>

#include "base/Url.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kPause(100);
constexpr const char* kFilterPass = "Filters";

std::string nameIn(const PropertyList& report) {
    const auto* values = report.asDictionary();
    return values == nullptr ? "" : stringFor(*values, "source");
}

// A document's report bears its address; others tell of a step on the way.
bool isOfDocument(const std::string& message) {
    const auto url = Url::parse(message);
    return url && url->hasScheme();
}

}  // namespace

IndexingProgress::IndexingProgress(NotificationCentre& centre, QWidget* parent)
    : QWidget(parent), m_text(new QLabel), m_bar(new QProgressBar) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    m_text->setTextFormat(Qt::PlainText);
    m_bar->setTextVisible(false);
    m_bar->setFixedSize(fontMetrics().averageCharWidth() * 8, fontMetrics().height() / 2);
    m_bar->setAccessibleName(q_("Indexing"));
    row->addWidget(m_text);
    row->addWidget(m_bar);
    m_pause.setSingleShot(true);
    m_pause.setInterval(kPause);
    connect(&m_pause, &QTimer::timeout, this, [this] { showNow(); });
    m_observations.push_back(
        centre.observe("SiftwellIndexerProgressStartNotification",
                       [this](const PropertyList& report) { started(report); }));
    m_observations.push_back(
        centre.observe("SiftwellIndexerProgressNotification", [this](const PropertyList& report) {
            const std::string name = nameIn(report);
            if (name == kFilterPass) m_sources.try_emplace(name);  // it tells of no beginning
            if (m_sources.contains(name)) showLater(name);
        }));
    m_observations.push_back(
        centre.observe("SiftwellIndexerProgressDoneNotification",
                       [this](const PropertyList& report) { finished(report); }));
    hide();
}

void IndexingProgress::started(const PropertyList& report) {
    const auto* values = report.asDictionary();
    if (values == nullptr) return;
    m_sources[nameIn(report)].count += integerFor(*values, "count").value_or(0);
    showLater(nameIn(report));
}

void IndexingProgress::finished(const PropertyList& report) {
    const auto* values = report.asDictionary();
    const auto source = m_sources.find(nameIn(report));
    if (values == nullptr || source == m_sources.end()) return;
    const std::string message = stringFor(*values, "message");
    if (isOfDocument(message)) ++source->second.done;
    const bool isAllDone = source->second.done >= source->second.count;
    if (message.empty() || source->first == "Loader" || (isOfDocument(message) && isAllDone)) {
        m_sources.erase(source);
    }
    showLater(nameIn(report));
}

// Reports come by the thousand.
void IndexingProgress::showLater(const std::string& source) {
    m_last = source;
    if (!m_pause.isActive()) m_pause.start();
}

void IndexingProgress::showNow() {
    auto shown = m_sources.find(m_last);
    if (shown == m_sources.end()) shown = m_sources.begin();
    setVisible(shown != m_sources.end());
    if (shown == m_sources.end()) return m_text->clear();
    const auto& [name, source] = *shown;
    const auto asText = [](std::int64_t number) {
        return QLocale().toString(number).toStdString();
    };
    const std::string what = name == "Loader"      ? _("Loading the index")
                             : name == kFilterPass ? _("Filtering the index")
                                                   : filledIn(_("Indexing %@"), name);
    m_text->setText(source.count > 0
                        ? toQString(what + " " + asText(source.done) + "/" + asText(source.count))
                        : toQString(what));
    m_bar->setRange(0, static_cast<int>(source.count));
    m_bar->setValue(static_cast<int>(std::min(source.done, source.count)));
}

}  // namespace siftwell
