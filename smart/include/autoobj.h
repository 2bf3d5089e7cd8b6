// AutoObj: room for one object in the enclosing frame, built only on the path that
// needs it, so the others pay no constructor.
//
//   AutoObj<Parser> parser;
//   if (needed) parser.Attach(new (parser.Storage()) Parser(text));
#pragma once

#include <new>
#include <utility>

#include "qdr/qdassert.h"

template <class TYPE>
class AutoObj {
public:
    AutoObj() : obj_(nullptr) {}
    ~AutoObj() {
        if (obj_) {
            QDR_CHECK(obj_ == Buffer());
            obj_->~TYPE();
            obj_ = nullptr;
        }
    }
    AutoObj(const AutoObj&) = delete;
    AutoObj& operator=(const AutoObj&) = delete;

    // The raw room; asking again while an object is there is reported and gives 0.
    void* Storage() {
        if (!obj_) return buf_;
        QDR_CHECK(obj_ == 0);
        return nullptr;
    }

    void Attach(TYPE* p) {
        QDR_CHECK(obj_ == 0);
        QDR_CHECK(p == Buffer());
        obj_ = p;
    }

    // Storage and Attach in one step.
    template <class... Args>
    TYPE* Emplace(Args&&... args) {
        void* room = Storage();
        if (!room) return nullptr;
        Attach(new (room) TYPE(std::forward<Args>(args)...));
        return obj_;
    }

    TYPE* operator->() const {
        QDR_CHECK(obj_ == Buffer());
        return obj_;
    }
    TYPE* Get() const { return obj_; }

private:
    TYPE* Buffer() const { return reinterpret_cast<TYPE*>(const_cast<unsigned char*>(buf_)); }

    TYPE* obj_;
    alignas(TYPE) unsigned char buf_[sizeof(TYPE)];
};
