// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A storage of the host over fakes, outside of any list.

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "host/model/storages.h"
#include "io/read_once_io.h"

namespace larkspur::host {

// A source by script, and a read-once storage over it whose cache lies in memory.
struct StorageRig {
  explicit StorageRig(u64 sectors)
      : StorageRig(std::make_shared<fakes::SourceScript>(sectors), fakes::MakeStore()) {}
  // Makes the cache where the store has none.
  StorageRig(std::shared_ptr<fakes::SourceScript> itsScript,
             std::shared_ptr<fakes::MemoryStore> itsStore)
      : script(std::move(itsScript)), store(std::move(itsStore)), source(fakes::SourceOn(script)) {
    const auto image =
        store->bytes.empty() ? fakes::CreateImage(store, script->sectors) : fakes::OpenImage(store);
    view.Attach(image.get(), source.get());
  }

  // The source as it stands.
  Storage Image() {
    Storage storage = Over(source.get());
    storage.kind = StorageKind::kImage;
    storage.source = {Owned<cBaseIO>(source->Clone()), nullptr, script->sectors, {}};
    return storage;
  }

  // The read-once storage, with the host's look at its cache.
  Storage ReadOnce() {
    Storage storage = Over(&view);
    storage.source = {Owned<cBaseIO>(source->Clone()), nullptr, script->sectors, {}};
    storage.map = fakes::OpenImage(store, true);
    return storage;
  }

  std::shared_ptr<fakes::SourceScript> script;
  std::shared_ptr<fakes::MemoryStore> store;
  Owned<cBaseIO> source;
  cReadOnceIO view;

 private:
  Storage Over(cBaseIO* io) {
    m_node = {io, nullptr, nullptr};
    Storage storage;
    storage.node = &m_node;
    storage.sectors = script->sectors;
    return storage;
  }

  HostStorageNode m_node{};
};

}  // namespace larkspur::host
