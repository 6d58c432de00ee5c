#pragma once

#include "Data/AttributeText.h"
#include "Data/CaFactory.h"
#include "Data/Configuration.h"
#include "Data/DataTreeNode.h"

#include <string>
#include <tuple>
#include <type_traits>

/// How a class of stored data is declared: it lists its attributes once, and identity, storing,
/// loading and its factory follow.
///
///     class VLR_CORE_EXPORT ProbeConfig : public ConfigurationRecord<ProbeConfig> {
///     public:
///         static constexpr const char* className = "ProbeConfig";
///         double length() const { return m_length; }
///     protected:
///         ~ProbeConfig() override = default;
///     private:
///         friend struct RecordAccess;
///         static constexpr auto attributes() {
///             return std::make_tuple(attribute("m_length", &ProbeConfig::m_length));
///         }
///         double m_length = 0;
///     };
///     VLR_DECLARE_RECORD_FACTORY(ProbeConfig, VLR_CORE_EXPORT)   // here, after the class
///     VLR_DEFINE_RECORD_FACTORY(ProbeConfig)                      // in the source file
///
/// Data of a patient is declared in the same way with another base, which is Data or one of its
/// classes, and is added to the patient's tree:
///
///     class VLR_CORE_EXPORT Probe : public DataRecord<Probe, Data> { ... };
///     VLR_DECLARE_RECORD_FACTORY(Probe, VLR_CORE_EXPORT)
///
///     createProbeFactory();    // before a patient is loaded
///     const DataPointer<Probe> probe(new Probe);
///     CaError error = study->addChild(probe, true);
///
/// Items of a class whose factory was not made are loaded as unknown: they are kept and written
/// back, but are no Probe. An "INFO" line in the log names the class, once. What is large (pixels,
/// recordings) is a binary part of the item, see Data::setBinaryPart().
///
/// Attributes are written in the order of the list. One that is absent, or whose text is not a
/// value of its type or lies outside its bounds, leaves the member as it is. Attributes that the
/// class does not read, as a newer version may have stored them, are written back unchanged.

/// One entry of the list.
template <class Owner, class Value>
struct RecordAttribute {
    const char* name;
    Value Owner::*member;
    constexpr bool accepts(const Value&) const { return true; }
};

/// One entry of the list with the least and the greatest value accepted when reading.
template <class Owner, class Value>
struct BoundedAttribute {
    const char* name;
    Value Owner::*member;
    Value first, last;
    constexpr bool accepts(const Value& value) const { return !(value < first || last < value); }
};

template <class Owner, class Value>
constexpr RecordAttribute<Owner, Value> attribute(const char* name, Value Owner::*member) {
    return {name, member};
}
template <class Owner, class Value>
constexpr BoundedAttribute<Owner, Value> attribute(const char* name, Value Owner::*member,
                                                   Value first, Value last) {
    return {name, member, first, last};
}

struct RecordAccess {
    template <class Record>
    static constexpr auto attributes() {
        return Record::attributes();
    }
};

namespace vlr {

template <class Value>
void writeAttribute(DataTreeNode& node, const QString& name, const Value& value) {
    node.setAttribute(name, toAttributeText(value));
}

/// The types of which one value, the empty text or the unknown date or time, is written as "".
template <class Value>
constexpr bool hasEmptyValue =
    std::is_same_v<Value, QString> || std::is_same_v<Value, std::string> ||
    std::is_same_v<Value, QDate> || std::is_same_v<Value, QTime>;

/// Reads the attribute. A missing one gives an error with the id missingAttributeError, one that
/// is no value of its type malformedAttributeError; both leave the value alone. An empty one gives
/// the empty text, an invalid date or time; as a number or bool it counts as missing.
///
/// Whatever the outcome, the reader from now on answers for the attribute: attributes nobody reads
/// are kept with the item and written back, those somebody has read are only written if he does.
template <class Value>
CaError readAttribute(const DataTreeNode& node, const QString& name, Value& value) {
    node.markRead(name);
    const QString text = node.attribute(name);
    if (text.isEmpty() && hasEmptyValue<Value> && node.hasAttribute(name)) {
        value = Value();
        return CaError::nullError;
    }
    if (text.isEmpty())
        return CaError(missingAttributeError, "Cannot find attribute: " + name.toStdString());
    if (!fromAttributeText(text, value))
        return CaError(malformedAttributeError, "Cannot read attribute: " + name.toStdString());
    return CaError::nullError;
}

} // namespace vlr

template <class Derived, class Base>
class DataRecord : public Base {
public:
    static _vlr::StringMixer classId() { return Derived::className; }
    _vlr::StringMixer getClassId() const override { return classId(); }
    bool isA(const _vlr::StringMixer& id) const override {
        return id == classId() || Base::isA(id);
    }

protected:
    DataRecord() = default;
    DataRecord(const DataRecord&) = default;
    DataRecord& operator=(const DataRecord&) = default;
    ~DataRecord() override = default;

    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override {
        const CaError error = Base::doSave(node, references);
        if (error != CaError::nullError)
            return error;
        std::apply([&](const auto&... a) { (writeMember(*node, a), ...); },
                   RecordAccess::attributes<Derived>());
        return CaError::nullError;
    }

    CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references) override {
        const CaError error = Base::doLoad(node, references);
        if (error != CaError::nullError)
            return error;
        std::apply([&](const auto&... a) { (readMember(*node, a), ...); },
                   RecordAccess::attributes<Derived>());
        return CaError::nullError;
    }

    /// The child record under the fixed id; made, or put in the place of a child of another
    /// class, where necessary. Never null.
    template <class SubRecord>
    DataPointer<SubRecord> subRecord(const QString& id) {
        const DataPointer<Data> child = this->hasChildAndGet(id);
        if (const auto record = dataCast<SubRecord>(child))
            return record;
        if (child)
            (void)this->removeChild(child.get());
        DataPointer<SubRecord> record(new SubRecord);
        record->setId(id);
        (void)this->addChild(record, true);
        return record;
    }

private:
    template <class Attribute>
    void writeMember(DataTreeNode& node, const Attribute& a) const {
        vlr::writeAttribute(node, QString::fromLatin1(a.name),
                            static_cast<const Derived&>(*this).*a.member);
    }

    template <class Attribute>
    void readMember(const DataTreeNode& node, const Attribute& a) {
        auto& member = static_cast<Derived&>(*this).*a.member;
        auto value = member;
        const CaError error = vlr::readAttribute(node, QString::fromLatin1(a.name), value);
        if (error == CaError::nullError && a.accepts(value))
            member = value;
    }
};

template <class Derived>
using ConfigurationRecord = DataRecord<Derived, Configuration>;

/// Makes records of one class and enters itself into Data::getFactory() under the class name,
/// unless another factory is there already.
template <class Record>
class RecordFactory : public CaFactory {
public:
    RecordFactory() {
        Data::createFactory();
        Data::getFactory().emplace(Record::classId().toStdString(), this);
    }
    RecordFactory(const RecordFactory& other) = default;
    RecordFactory& operator=(const RecordFactory& other) = default;
    ~RecordFactory() override {
        const auto entry = Data::getFactory().find(Record::classId().toStdString());
        if (entry != Data::getFactory().end() && entry->second == this)
            Data::getFactory().erase(entry);
    }

    Data* createInstance() override { return new Record; }
};

/// Declares <Record>Factory and `int create<Record>Factory()`, which registers one such factory
/// at its first call and always returns 1.
#define VLR_DECLARE_RECORD_FACTORY(Record, EXPORT)                                                 \
    class EXPORT Record##Factory : public RecordFactory<Record> {                                  \
    public:                                                                                        \
        Record##Factory();                                                                         \
        Record##Factory(const Record##Factory& other);                                             \
        Record##Factory& operator=(const Record##Factory& other);                                  \
        ~Record##Factory() override;                                                               \
    };                                                                                             \
    EXPORT int create##Record##Factory();

/// The registered factory lives as long as the process, since records may be made at any time.
#define VLR_DEFINE_RECORD_FACTORY(Record)                                                          \
    Record##Factory::Record##Factory() = default;                                                  \
    Record##Factory::Record##Factory(const Record##Factory& other) = default;                      \
    Record##Factory& Record##Factory::operator=(const Record##Factory& other) = default;           \
    Record##Factory::~Record##Factory() = default;                                                 \
    int create##Record##Factory() {                                                                \
        static const auto* const factory = new Record##Factory;                                    \
        Q_UNUSED(factory)                                                                          \
        return 1;                                                                                  \
    }
