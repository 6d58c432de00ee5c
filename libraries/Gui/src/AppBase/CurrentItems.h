#pragma once

#include "Data/Patient.h"
#include "Data/Study.h"
#include "vlrGuiExport.h"

#include <functional>
#include <iosfwd>

/// The patient, study and data item that the whole application works on, and the cascade from
/// one to the next.
///
///     CurrentItems current([](CurrentItems::Item item) { announce(item); });
///     current.setPatient(patient);
///
/// This announces Patient, Study and DataItem, as far as they change. A change is announced when
/// the new value is in place.
class VLR_GUI_EXPORT CurrentItems {
public:
    enum class Item { Patient, Study, DataItem };
    using Announce = std::function<void(Item)>;

    explicit CurrentItems(Announce announce);
    CurrentItems(const CurrentItems&) = delete;
    CurrentItems& operator=(const CurrentItems&) = delete;
    /// Gives all items back. From then on none is current, and none can be set, whoever asks.
    ~CurrentItems();

    const DataPointer<Patient>& patient() const { return m_patient.item; }
    const DataPointer<Study>& study() const { return m_study.item; }
    const DataPointer<Data>& dataItem() const { return m_dataItem.item; }

    /// Another patient than the current one brings its first study along (none: null). A null
    /// patient leaves the study as it is.
    void setPatient(const DataPointer<Patient>& patient);
    /// Another study than the current one brings along the first data item, process data or
    /// child item of the current patient (none: null). Without a patient the data item stays.
    void setStudy(const DataPointer<Study>& study);
    void setDataItem(const DataPointer<Data>& item);

private:
    // An item that is destroyed while it is current was released once too often by somebody. It
    // is reported and forgotten, since giving our reference back would destroy it again.
    template <class T>
    struct Slot {
        DataPointer<T> item;
        CaConnection deletion;
        bool set(const DataPointer<T>& value);
        DataPointer<T> take(); ///< Leaves null behind.
    };

    Announce m_announce;
    Slot<Patient> m_patient;
    Slot<Study> m_study;
    Slot<Data> m_dataItem;
    bool m_isGoing = false;
};
