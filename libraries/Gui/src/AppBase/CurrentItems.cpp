#include "AppBase/CurrentItems.h"

#include "Data/ChildItem.h"
#include "Data/DataItem.h"
#include "Data/DataIterator.h"
#include "Data/ProcessData.h"

#include <iostream>
#include <utility>

namespace {

void reportDeletion(const void* address) {
    const std::ios_base::fmtflags flags = std::cout.flags();
    std::cout << "The object at address 0x" << std::hex << reinterpret_cast<std::uintptr_t>(address)
              << " was just deleted. This must not happen if "
                 "the referece counting mechanism is used correctly. \n"
                 "Try to find double-unref's or even better use "
                 "DataPointer<> for all your data item handling."
              << std::endl;
    std::cout.flags(flags);
}

template <class Matches>
DataPointer<Data> firstDescendant(const DataPointer<Data>& root, Matches matches) {
    DataIterator it(root);
    while (DataPointer<Data> item = it.next())
        if (matches(*item))
            return item;
    return {};
}

bool isDataItem(const Data& item) {
    return item.isA(DataItem::classId()) || item.isA(ProcessData::classId()) ||
           item.isA(ChildItem::classId());
}

} // namespace

template <class T>
bool CurrentItems::Slot<T>::set(const DataPointer<T>& value) {
    if (value == item)
        return false;
    deletion.disconnect();
    const DataPointer<T> previous = std::exchange(item, value);
    if (item)
        deletion =
            CaConnection(*item, Data::DELETED, [this](CaSubject*, void*, const char*, void*) {
                reportDeletion(item.get());
                item.forget();
            });
    return true;
}

template <class T>
DataPointer<T> CurrentItems::Slot<T>::take() {
    deletion.disconnect();
    return std::move(item);
}

CurrentItems::CurrentItems(Announce announce) : m_announce(std::move(announce)) {}

// Items die with their last reference, and who hears of it may ask for the current ones or set
// others. So nothing is current any more when the first of them goes.
CurrentItems::~CurrentItems() {
    m_isGoing = true;
    const auto dataItem = m_dataItem.take();
    const auto study = m_study.take();
    const auto patient = m_patient.take();
}

void CurrentItems::setPatient(const DataPointer<Patient>& patient) {
    if (m_isGoing || !m_patient.set(patient))
        return;
    m_announce(Item::Patient);
    if (m_patient.item)
        setStudy(dataCast<Study>(firstDescendant(
            m_patient.item, [](const Data& item) { return item.isA(Study::classId()); })));
}

void CurrentItems::setStudy(const DataPointer<Study>& study) {
    if (m_isGoing || !m_study.set(study))
        return;
    m_announce(Item::Study);
    if (m_patient.item)
        setDataItem(firstDescendant(m_patient.item, isDataItem));
}

void CurrentItems::setDataItem(const DataPointer<Data>& item) {
    if (!m_isGoing && m_dataItem.set(item))
        m_announce(Item::DataItem);
}
