// Shared set-up of the fuzz targets: a Qt application object for the code
// that expects one, and a reader that takes typed values off the input.
#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <cstddef>
#include <cstdint>

inline void fuzzApplication()
{
    static int argc = 1;
    static char name[] = "velmora-fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

// Takes bytes off the front of the input; an exhausted input gives zeros.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    uint8_t byte() { return size_ ? (--size_, *data_++) : 0; }
    QByteArray take(size_t n)
    {
        n = n < size_ ? n : size_;
        QByteArray out(reinterpret_cast<const char*>(data_), qsizetype(n));
        data_ += n;
        size_ -= n;
        return out;
    }
    QByteArray rest() { return take(size_); }

private:
    const uint8_t* data_;
    size_t size_;
};
