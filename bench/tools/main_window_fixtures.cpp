// Fills the user's stores with realistic content for the main window's
// benchmarks, through the stores the application itself opens (so the XDG
// folders of the environment decide where): notes, History entries, and a
// CSV of Words for "parlevo words import".
// Usage: main_window_fixtures notes COUNT
//        main_window_fixtures history COUNT
//        main_window_fixtures words-csv COUNT FILE
// The same counts always give the same content.

#include "model/AppDataStore.h"
#include "model/Note.h"
#include "model/TranscriptEntry.h"
#include "model/UserDefaults.h"
#include "notes/NotesStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSaveFile>
#include <QStringList>
#include <QUuid>

#include <array>
#include <cstdio>
#include <map>
#include <random>
#include <set>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array vocabulary{
    "the",       "we",        "agreed",     "to",         "move",      "the",       "release",
    "to",        "next",      "week",       "because",    "testing",   "found",     "a",
    "problem",   "with",      "the",        "invoices",   "customer",  "asked",     "about",
    "pricing",   "for",       "schools",    "and",        "whether",   "the",       "contract",
    "covers",    "support",   "over",       "weekends",   "Maria",     "will",      "send",
    "the",       "draft",     "budget",     "by",         "Friday",    "so",        "legal",
    "can",       "review",    "it",         "before",     "the",       "board",     "meeting",
    "in",        "March",     "our",        "onboarding", "takes",     "too",       "long",
    "people",    "drop",      "off",        "after",      "the",       "second",    "screen",
    "let's",     "try",       "a",          "shorter",    "form",      "and",       "measure",
    "again",     "the",       "warehouse",  "in",         "Leeds",     "is",        "running",
    "out",       "of",        "space",      "shipping",   "costs",     "went",      "up",
    "eight",     "percent",   "this",       "quarter",    "I",         "think",     "we",
    "should",    "hire",      "two",        "more",       "engineers", "for",       "the",
    "mobile",    "team",      "Kubernetes", "upgrade",    "needs",     "a",         "maintenance",
    "window",    "on",        "Sunday",     "night",      "the",       "interview", "went",
    "well",      "she",       "has",        "five",       "years",     "of",        "experience",
    "with",      "payments",  "please",     "remember",   "to",        "update",    "the",
    "roadmap",   "slides",    "quarterly",  "targets",    "look",      "reachable", "if",
    "marketing", "delivers",  "the",        "campaign",   "on",        "time",      "patient",
    "follow-up", "scheduled", "for",        "Tuesday",    "morning",
};

constexpr std::array firstNames{
    "Aisling",   "Bartholomew", "Cordelia", "Dmitri",   "Eleonora", "Fintan",   "Gwendolyn",
    "Hiroshi",   "Ingrid",      "Jovanka",  "Kwabena",  "Lucinda",  "Mateusz",  "Niamh",
    "Oluwaseun", "Priyanka",    "Quentin",  "Rosalind", "Siobhan",  "Thaddeus", "Ulrike",
    "Valentina", "Wojciech",    "Xiomara",  "Yevgeny",  "Zuzanna",
};

constexpr std::array surnames{
    "Abernathy",   "Bhattacharya", "Castellanos", "Dunleavy",     "Eichhorn",  "Fitzgerald",
    "Gallagher",   "Hartwell",     "Iwasaki",     "Jankowski",    "Kowalczyk", "Lindqvist",
    "Mbeki",       "Nakamura",     "O'Donoghue",  "Papadopoulos", "Quiñones",  "Rasmussen",
    "Szczepański", "Thorvaldsen",  "Uchenna",     "Vasquez",      "Whitcombe", "Yamamoto",
};

// Pieces of product and technical names.
constexpr std::array termStarts{
    "Kube",  "Post", "Terra", "Hydro", "Neuro", "Quant",  "Vecto", "Zephy", "Graph", "Proto",
    "Astra", "Lumi", "Cyto",  "Ortho", "Pyro",  "Strato", "Tele",  "Velo",  "Xeno",  "Myco",
};
constexpr std::array termEnds{
    "netes",  "gres",  "form",  "lytics",  "genix",   "stack", "sphere", "flux",  "QL",    "buf",
    "zeneca", "vista", "plasm", "dontics", "metrics", "cast",  "scope",  "drome", "morph", "base",
};

// 1 to 3 spoken forms: how an engine might mishear `spelling`.
QStringList spokenForms(const QString& spelling, std::mt19937& random) {
    const int count = int(random() % 4);
    QStringList forms;
    const QString lower = spelling.toLower();
    for (int i = 0; i < count; ++i) {
        QString form = lower;
        // Break the word where a listener would hear a pause.
        const qsizetype cut = 2 + qsizetype(random() % std::max<qsizetype>(1, lower.size() - 3));
        if (cut < form.size() && !form.contains(u' '))
            form.insert(cut, u' ');
        if (i == 1)
            form.replace(u"ph"_s, u"f"_s).replace(u"k"_s, u"c"_s);
        if (i == 2)
            form.replace(u"sz"_s, u"sh"_s).replace(u"w"_s, u"v"_s) += u"s"_s;
        if (!forms.contains(form) && form != lower)
            forms << form;
    }
    return forms;
}

constexpr std::array productWords{"Cloud", "Pro",  "Labs",    "Health", "Studio",
                                  "One",   "Edge", "Works",   "Mobile", "Insights",
                                  "Suite", "Hub",  "Connect", "Vision", "Direct"};

// Distinct spellings: full names, product terms, double-barrelled names and
// product codes, in that rotation. A repeated name gets a middle initial, a
// repeated term a product word.
QStringList spellings(int count) {
    std::map<QString, int> repeats;
    std::set<QString> taken;
    QStringList out;
    for (int n = 0; qsizetype(out.size()) < count; ++n) {
        const auto pick = [&](const auto& table, int stride) {
            return QString::fromUtf8(table[std::size_t(n / stride) % table.size()]);
        };
        QString spelling;
        switch (n % 4) {
        case 0:
            spelling = pick(firstNames, 4) + u' ' + pick(surnames, 4 * int(firstNames.size()));
            break;
        case 1:
            spelling = pick(termStarts, 4) + pick(termEnds, 4 * int(termStarts.size()));
            break;
        case 2:
            spelling = pick(surnames, 4) + u"-"_s + pick(termStarts, 4 * int(surnames.size()));
            break;
        default:
            spelling = pick(termStarts, 4).left(2).toUpper() + QString::number(n / 4 % 997) +
                       pick(termEnds, 4 * 997).left(1).toUpper();
            break;
        }
        const int seen = repeats[spelling]++;
        if (seen > 0 && n % 4 == 0) {
            const qsizetype space = spelling.indexOf(u' ');
            spelling.insert(space + 1, QChar(u'A' + (seen - 1) % 26) + u". "_s);
        } else if (seen > 0) {
            spelling +=
                u' ' + QString::fromUtf8(productWords[std::size_t(seen - 1) % productWords.size()]);
        }
        if (taken.insert(spelling).second)
            out << spelling;
    }
    return out;
}

QString quoted(const QString& cell) {
    QString escaped = cell;
    escaped.replace(u'"', u"\"\""_s);
    return u'"' + escaped + u'"';
}

int writeWordsCsv(int count, const QString& path) {
    std::mt19937 random(5000);
    QString csv = u"spelling,spoken forms\n"_s;
    for (const QString& spelling : spellings(count))
        csv += quoted(spelling) + u',' + quoted(spokenForms(spelling, random).join(u'\n')) + u'\n';
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(csv.toUtf8()) < 0 || !file.commit()) {
        std::fprintf(stderr, "main_window_fixtures: %s could not be written: %s\n",
                     qPrintable(path), qPrintable(file.errorString()));
        return 1;
    }
    return 0;
}

QString sentence(std::mt19937& random, int words) {
    QStringList out;
    for (int i = 0; i < words; ++i)
        out << QString::fromUtf8(vocabulary[random() % vocabulary.size()]);
    QString text = out.join(u' ');
    text[0] = text[0].toUpper();
    return text + u'.';
}

// Sentences of 6 to 14 words until `words` are said.
QString paragraph(std::mt19937& random, int words) {
    QStringList sentences;
    while (words > 0) {
        const int length = std::min(words, 6 + int(random() % 9));
        sentences << sentence(random, length);
        words -= length;
    }
    return sentences.join(u' ');
}

// Spread over the year before 1 June 2025, newest last.
QDateTime spreadOverAYear(int index, int count) {
    const QDateTime end(QDate(2025, 6, 1), QTime(9, 0), Qt::UTC);
    const qint64 year = 365LL * 24 * 3600;
    return end.addSecs(-year + year * index / std::max(1, count));
}

int writeNotes(int count) {
    NotesStore store;
    std::mt19937 random(2000);
    constexpr std::array topics{"Weekly sync", "Budget review",   "Customer call",
                                "Interview",   "Design critique", "Board prep",
                                "Standup",     "Supplier call",   "Patient follow-up",
                                "Planning",    "Retrospective",   "Sales pipeline"};
    constexpr std::array callApps{"us.zoom.xos", "com.microsoft.teams", "web:meet.google.com"};
    for (int i = 0; i < count; ++i) {
        Note note;
        note.id = QUuid::createUuid();
        note.title = QString::fromUtf8(topics[random() % topics.size()]) + u" with "_s +
                     QString::fromUtf8(firstNames[random() % firstNames.size()]);
        note.titleEdited = random() % 3 == 0;
        note.createdAt = spreadOverAYear(i, count);
        note.durationMs = (2 + qint64(random() % 58)) * 60'000 + qint64(random() % 60'000);
        note.state = NoteState::ready;
        note.source = random() % 2 == 0 ? NoteSource::room : NoteSource::call;
        if (note.source == NoteSource::call)
            note.sourceApp = QString::fromUtf8(callApps[random() % callApps.size()]);
        note.turnsFinal = true;
        note.language = u"en"_s;
        const int turns = 3 + int(random() % 6);
        const qint64 turnLength = note.durationMs / turns;
        for (int t = 0; t < turns; ++t) {
            const QString speaker = t % 2 == 0 ? u"you"_s : u"them"_s;
            note.turns << NoteTurn{speaker, t * turnLength, (t + 1) * turnLength,
                                   paragraph(random, 20 + int(random() % 60))};
        }
        note.sections << NoteSection{0, 0, note.durationMs, true, true, {}, {}};
        if (note.source == NoteSource::call)
            note.speakerNames[u"them"_s] = QString::fromUtf8(surnames[random() % surnames.size()]);
        if (const auto created = store.create(note); !created) {
            std::fprintf(stderr, "main_window_fixtures: %s\n", qPrintable(created.error().message));
            return 1;
        }
    }
    return 0;
}

int writeHistory(int count) {
    UserDefaults defaults;
    AppDataStore store(defaults);
    std::mt19937 random(60);
    constexpr std::array apps{"org.gnome.TextEditor", "firefox", "thunderbird", "slack", "code"};
    constexpr std::array styles{DictationStyle::exact, DictationStyle::clean,
                                DictationStyle::polished, DictationStyle::casual};
    constexpr std::array models{DictationModel::offline, DictationModel::hosted,
                                DictationModel::turbo};
    // Oldest first: each is added in front, as dictations are.
    for (int i = 0; i < count; ++i) {
        TranscriptEntry entry;
        entry.id = QUuid::createUuid();
        entry.createdAt = spreadOverAYear(i, count);
        entry.text = paragraph(random, 10 + int(random() % 51));
        entry.source = QString::fromUtf8(apps[random() % apps.size()]);
        entry.durationMs = 2'000 + qint64(random() % 40'000);
        DictationSessionSettings settings;
        settings.style = styles[random() % styles.size()];
        settings.application = entry.source;
        settings.language = u"en"_s;
        settings.model = models[random() % models.size()];
        entry.polished = settings.style == DictationStyle::polished;
        entry.dictationSettings = settings;
        if (const auto added = store.addHistory(entry); !added) {
            std::fprintf(stderr, "main_window_fixtures: %s\n", qPrintable(added.error().message));
            return 1;
        }
    }
    return 0;
}

int usage() {
    std::fprintf(stderr, "usage: main_window_fixtures notes COUNT | history COUNT | "
                         "words-csv COUNT FILE\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() < 2)
        return usage();
    bool isNumber = false;
    const int count = args[1].toInt(&isNumber);
    if (!isNumber || count < 0)
        return usage();
    if (args[0] == u"notes"_s && args.size() == 2)
        return writeNotes(count);
    if (args[0] == u"history"_s && args.size() == 2)
        return writeHistory(count);
    if (args[0] == u"words-csv"_s && args.size() == 3)
        return writeWordsCsv(count, args[2]);
    return usage();
}
