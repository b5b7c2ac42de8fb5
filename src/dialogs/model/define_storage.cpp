// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/define_storage.h"

#include <new>

#include "imaging/cache.h"
#include "platform/file.h"

namespace larkspur {
namespace {

Defined Answered(DefineAnswer answer) {
  return {answer, nullptr};
}

DefineAnswer AnswerOf(CacheAnswer answer) {
  switch (answer) {
    case CacheAnswer::kOpened:
      return DefineAnswer::kDefined;
    case CacheAnswer::kOtherSize:
      return DefineAnswer::kWrongSize;
    case CacheAnswer::kLockedElsewhere:
      return DefineAnswer::kLockedElsewhere;
    default:
      return DefineAnswer::kCacheFailed;
  }
}

Defined Attach(Cache* cache, cBaseIO* source) {
  Owned<cReadOnceIO> storage(new (std::nothrow) cReadOnceIO);
  if (!storage || !storage->Attach(cache->image.get(), source)) {
    return Answered(DefineAnswer::kNotAttached);
  }
  storage->KeepLock(cache->lock);
  return {DefineAnswer::kDefined, std::move(storage)};
}

}  // namespace

Defined DefineStorage(cBaseIO* source, const std::u16string& cachePath) {
  if (!source) return Answered(DefineAnswer::kSourceMissing);
  if (cachePath.empty()) return Answered(DefineAnswer::kPathMissing);
  // In full, because the host may change its current folder and the storage reopens the file.
  const std::u16string path = platform::FullPath(cachePath.c_str());
  Cache cache = OpenOrCreateCache(path, {}, source->GetSectorCount());
  if (cache.answer != CacheAnswer::kOpened) return Answered(AnswerOf(cache.answer));
  Defined defined = Attach(&cache, source);
  if (!defined.storage && cache.created) {
    cache = Cache();  // closed before it is removed
    platform::RemoveFile(path.c_str());
  }
  return defined;
}

}  // namespace larkspur
