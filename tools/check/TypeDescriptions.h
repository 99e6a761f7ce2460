#pragma once

#include <windows.h>

#include <oaidl.h>

#include "automation/Errors.h"

namespace kandora::check {

/// What a type or a library tells of itself, for as long as this lives. Empty when it tells nothing; using it
/// all the same throws RuntimeError. The source must outlive it.
template <class Source, class Description>
class Told {
public:
    Told(const Told&) = delete;
    Told& operator=(const Told&) = delete;

    explicit operator bool() const noexcept { return SUCCEEDED(outcome_); }
    const Description* operator->() const { return &**this; }
    const Description& operator*() const {
        RequireSuccess(outcome_);
        return *description_;
    }

protected:
    explicit Told(Source* source) : source_(source) {}
    ~Told() = default;

    Source* source_;
    HRESULT outcome_ = E_UNEXPECTED;
    Description* description_ = nullptr;
};

class TypeAttributes : public Told<ITypeInfo, TYPEATTR> {
public:
    explicit TypeAttributes(ITypeInfo* info) : Told(info) { outcome_ = info->GetTypeAttr(&description_); }
    ~TypeAttributes() {
        if (*this) {
            source_->ReleaseTypeAttr(description_);
        }
    }
};

class FunctionDescription : public Told<ITypeInfo, FUNCDESC> {
public:
    FunctionDescription(ITypeInfo* info, UINT place) : Told(info) {
        outcome_ = info->GetFuncDesc(place, &description_);
    }
    ~FunctionDescription() {
        if (*this) {
            source_->ReleaseFuncDesc(description_);
        }
    }
};

class LibraryAttributes : public Told<ITypeLib, TLIBATTR> {
public:
    explicit LibraryAttributes(ITypeLib* library) : Told(library) {
        outcome_ = library->GetLibAttr(&description_);
    }
    ~LibraryAttributes() {
        if (*this) {
            source_->ReleaseTLibAttr(description_);
        }
    }
};

}  // namespace kandora::check
