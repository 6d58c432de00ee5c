// What storing and loading a tree of data costs, as a configuration and as a patient.

#include "Suites.h"

#include "Suite.h"

#include "AppBase/QtScreenShotData.h"
#include "Data/Study.h"
#include "Documents/TreeXml.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QFile>
#include <QtCore/QSaveFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>

#include <map>
#include <memory>
#include <stdexcept>

namespace {

constexpr double saveAim = 0.8;
constexpr double loadAim = 1.15;
constexpr long nodeCount = 1000;
const QString configurationName = QStringLiteral("Benchmark");

void check(const CaError& error) {
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

// Groups of a hundred, so that the tree has some depth.
void addNodes(Data& root, long count) {
    constexpr long groupSize = 100;
    DataPointer<Data> group;
    for (long i = 0; i < count; ++i) {
        const DataPointer<Study> study(new Study);
        study->setId(QStringLiteral("Study%1").arg(i));
        study->setInstitution(QStringLiteral("Institution number %1").arg(i));
        study->setDate(QDate(2020, 1, 1).addDays(i));
        const bool isGroup = i % groupSize == 0;
        check((isGroup ? root : *group).addChild(study, false));
        if (isGroup)
            group = study;
    }
}

// --- a configuration of a thousand nodes

struct Document {
    Document() {
        createStudyFactory();
        addNodes(*configuration, nodeCount - 1);
        check(DataIOManager::storeConfiguration(configurationName, configuration));
        check(configuration->save(tree));
    }

    // What did not change would not be written.
    void change(int number) {
        configuration->setId(QStringLiteral("Configuration%1").arg(number));
        tree.setId(configuration->id());
    }

    DataPointer<Configuration> configuration{new Configuration};
    DataTreeNode tree;
    QTemporaryDir folder;
    int changes = 0;
};

void writePlainNode(QXmlStreamWriter& xml, const DataTreeNode& node) {
    xml.writeStartElement(QStringLiteral("data"));
    xml.writeAttribute(QStringLiteral("class"), node.className());
    xml.writeAttribute(QStringLiteral("id"), node.id());
    for (const auto& attribute : node.attributes()) {
        xml.writeEmptyElement(QStringLiteral("attribute"));
        xml.writeAttribute(QStringLiteral("name"), attribute.first);
        xml.writeAttribute(QStringLiteral("value"), attribute.second);
    }
    for (const auto& child : node.children())
        writePlainNode(xml, *child);
    xml.writeEndElement();
}

void writePlain(const QString& path, const Document& document) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw std::runtime_error(file.errorString().toStdString());
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    writePlainNode(xml, document.tree);
    xml.writeEndDocument();
    if (!file.commit())
        throw std::runtime_error(file.errorString().toStdString());
}

void readPlain(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(file.errorString().toStdString());
    QXmlStreamReader xml(&file);
    long nodes = 0;
    while (!xml.atEnd())
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("data"))
            ++nodes;
    if (nodes != nodeCount)
        throw std::runtime_error("The document is not complete.");
}

// Nothing but the work on the bytes: the disk has its own mind.
void addWithoutDisk(Suite& suite, const std::shared_ptr<Document>& document) {
    const auto bytes = std::make_shared<QByteArray>(vlr::writeTree(document->tree));
    suite.compare({"parse", "readTree() of it / QXmlStreamReader, both without the disk", -1,
                   [bytes](benchmark::State& state) {
                       for (auto _ : state) {
                           DataTreeNode root;
                           check(vlr::readTree(*bytes, root));
                       }
                   },
                   [bytes](benchmark::State& state) {
                       for (auto _ : state) {
                           QXmlStreamReader xml(*bytes);
                           while (!xml.atEnd())
                               xml.readNext();
                       }
                   }});
}

// --- patients of many nodes or screenshots, each kind in a repository of its own

class StoredPatients {
public:
    using Fill = void (*)(Data& patient, long count);
    explicit StoredPatients(Fill fill) : m_fill(fill) {}

    DataPointer<Patient> patient(long count) {
        useRepository();
        DataPointer<Patient>& patient = m_patients[count];
        if (!patient) {
            patient = DataPointer<Patient>(new Patient);
            patient->setPatientId(QString::number(count));
            m_fill(*patient, count);
            check(DataIOManager::storePatient(patient));
        }
        return patient;
    }

private:
    void useRepository() {
        check(vlr::Settings::set(QStringLiteral("Velora/Application/PatientRepository"),
                                 QStringLiteral("sqlite:") +
                                     m_folder.filePath(QStringLiteral("patients.sqlite"))));
    }

    Fill m_fill;
    QTemporaryDir m_folder;
    std::map<long, DataPointer<Patient>> m_patients;
};

void addScreenshots(Data& patient, long count) {
    for (long i = 0; i < count; ++i) {
        QPixmap picture(64, 48);
        picture.fill(QColor::fromHsv(static_cast<int>(i % 360), 255, 255));
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setId(QStringLiteral("SCD_%1").arg(i));
        record->setScreenShot(picture);
        check(patient.addChild(record, false));
    }
}

void load(benchmark::State& state, StoredPatients& patients) {
    const vlr::URI uri = patients.patient(state.range(0))->storage().uri;
    for (auto _ : state) {
        DataPointer<Patient> patient;
        check(DataIOManager::loadPatient(uri, patient));
        benchmark::DoNotOptimize(patient->childCount());
    }
}

void store(benchmark::State& state, StoredPatients& patients) {
    const DataPointer<Patient> patient = patients.patient(state.range(0));
    for (auto _ : state)
        check(DataIOManager::storePatient(patient));
}

const std::vector<long> nodeSizes{10, 100, 1000, 10000, 100000};

} // namespace

void addSave(Suite& suite) {
    const auto document = std::make_shared<Document>();
    suite.compare({"configuration", "durable store of 1,000 nodes / QXmlStreamWriter and QSaveFile",
                   saveAim,
                   [document](benchmark::State& state) {
                       for (auto _ : state) {
                           document->change(++document->changes);
                           check(DataIOManager::storeConfiguration(configurationName,
                                                                   document->configuration));
                       }
                   },
                   [document](benchmark::State& state) {
                       const QString path = document->folder.filePath(QStringLiteral("plain.xml"));
                       for (auto _ : state) {
                           document->change(++document->changes);
                           writePlain(path, *document);
                       }
                   }});
    const auto patients = std::make_shared<StoredPatients>(&addNodes);
    suite.grow({"nodes", "storing a patient of so many items", nodeSizes,
                [patients](benchmark::State& state) { store(state, *patients); }});
    suite.grow({"flat",
                "adding so many children to one item",
                {10, 100, 1000, 10000},
                [](benchmark::State& state) {
                    for (auto _ : state) {
                        const DataPointer<Configuration> parent(new Configuration);
                        for (long i = 0; i < state.range(0); ++i)
                            check(parent->addChild(
                                DataPointer<Data>(new Configuration(QString::number(i))), false));
                    }
                }});
}

void addLoad(Suite& suite) {
    const auto document = std::make_shared<Document>();
    const QString path = DataIOManager::configurationPath(configurationName);
    suite.compare({"configuration", "load of 1,000 nodes / QXmlStreamReader to the end", loadAim,
                   [](benchmark::State& state) {
                       for (auto _ : state) {
                           const DataPointer<Configuration> read(new Configuration);
                           check(DataIOManager::loadConfiguration(configurationName, read));
                       }
                   },
                   [path, document](benchmark::State& state) {
                       for (auto _ : state)
                           readPlain(path);
                   }});
    addWithoutDisk(suite, document);
    const auto patients = std::make_shared<StoredPatients>(&addNodes);
    suite.grow({"nodes", "loading a patient of so many items", nodeSizes,
                [patients](benchmark::State& state) { load(state, *patients); }});
    const auto screenshots = std::make_shared<StoredPatients>(&addScreenshots);
    createQtScreenShotDataFactory();
    suite.grow({"screenshots",
                "loading a patient of so many screenshots",
                {1, 10, 100, 1000},
                [screenshots](benchmark::State& state) { load(state, *screenshots); }});
}
