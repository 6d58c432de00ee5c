#pragma once

#include <cstddef>
#include <utility>

/// A reference-counting pointer to a data item. The item is destroyed with its last reference.
///
///     DataPointer<Patient> patient(new Patient);
///     if (auto study = dataCast<Study>(item)) ...
template <class T>
class DataPointer {
public:
    DataPointer() noexcept = default;
    DataPointer(std::nullptr_t) noexcept {}
    DataPointer(T* data) : m_data(data) { ref(); }
    DataPointer(const DataPointer& other) : m_data(other.m_data) { ref(); }
    DataPointer(DataPointer&& other) noexcept : m_data(std::exchange(other.m_data, nullptr)) {}
    template <class U>
    DataPointer(const DataPointer<U>& other) : m_data(other.get()) {
        ref();
    }
    ~DataPointer() { unref(); }

    DataPointer& operator=(DataPointer other) noexcept {
        std::swap(m_data, other.m_data);
        return *this;
    }

    T* get() const noexcept { return m_data; }
    T* operator->() const noexcept { return m_data; }
    T& operator*() const noexcept { return *m_data; }
    explicit operator bool() const noexcept { return m_data != nullptr; }

    /// Drops the pointer without giving its reference back. Only for an item that is known to
    /// have been destroyed already.
    void forget() noexcept { m_data = nullptr; }

private:
    void ref() const {
        if (m_data)
            m_data->ref();
    }
    void unref() const {
        if (m_data)
            m_data->unref();
    }

    T* m_data = nullptr;
};

template <class T, class U>
bool operator==(const DataPointer<T>& a, const DataPointer<U>& b) noexcept {
    return a.get() == b.get();
}
template <class T, class U>
bool operator!=(const DataPointer<T>& a, const DataPointer<U>& b) noexcept {
    return a.get() != b.get();
}
template <class T>
bool operator==(const DataPointer<T>& a, std::nullptr_t) noexcept {
    return !a;
}
template <class T>
bool operator!=(const DataPointer<T>& a, std::nullptr_t) noexcept {
    return static_cast<bool>(a);
}

/// The pointer as one to the derived class T, null when the item is not a T.
template <class T, class U>
DataPointer<T> dataCast(const DataPointer<U>& pointer) {
    return DataPointer<T>(dynamic_cast<T*>(pointer.get()));
}
