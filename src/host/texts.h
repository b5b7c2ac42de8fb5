// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Every text of the host's own windows. They are English, as those of any host may be in a language
// of its own; the dialogs take theirs from the message catalog.

namespace larkspur::host::texts {

inline constexpr char16_t kTitle[] = u"Larkspur host";

inline constexpr char16_t kOpenFile[] = u"Open file...";
inline constexpr char16_t kOpenDrive[] = u"Open drive...";
inline constexpr char16_t kMakeStorage[] = u"New storage...";
inline constexpr char16_t kReadEverything[] = u"Read everything";
inline constexpr char16_t kStopReading[] = u"Stop reading";
inline constexpr char16_t kReadDirectly[] = u"Read directly...";
inline constexpr char16_t kCloseStorage[] = u"Close storage";
inline constexpr char16_t kSaveMap[] = u"Save map as picture...";
inline constexpr char16_t kCopyText[] = u"Copy as text";
inline constexpr char16_t kAbout[] = u"About the module...";
inline constexpr char16_t kGoToSector[] = u"Go to sector";
inline constexpr char16_t kPreviousSector[] = u"Previous sector";
inline constexpr char16_t kNextSector[] = u"Next sector";
inline constexpr char16_t kShowSector[] = u"Show its first sector";

inline constexpr char16_t kLanguage[] = u"Language of the dialogs:";
inline constexpr char16_t kStorages[] = u"Storages:";
inline constexpr char16_t kModules[] = u"Modules beside the program:";
inline constexpr char16_t kSplitter[] = u"Width of the lists";
inline constexpr char16_t kPages[] = u"Views of the storage";
inline constexpr char16_t kPartitions[] = u"Partitions";
inline constexpr char16_t kSectors[] = u"Sectors";
inline constexpr char16_t kMap[] = u"Map";
inline constexpr char16_t kLog[] = u"Log";
inline constexpr char16_t kSector[] = u"Sector:";

inline constexpr char16_t kName[] = u"Name";
inline constexpr char16_t kKind[] = u"Kind";
inline constexpr char16_t kSize[] = u"Size";
inline constexpr char16_t kStart[] = u"Start";
inline constexpr char16_t kLength[] = u"Sectors";
inline constexpr char16_t kType[] = u"Type";
inline constexpr char16_t kFacts[] = u"Facts";
inline constexpr char16_t kIdentity[] = u"Identity";
inline constexpr char16_t kFile[] = u"File";

inline constexpr char16_t kImage[] = u"image";
inline constexpr char16_t kCache[] = u"cache";
inline constexpr char16_t kDrive[] = u"drive";
inline constexpr char16_t kReadOnce[] = u"read-once";

inline constexpr char16_t kOpenTitle[] = u"Open an image or a cache";
inline constexpr char16_t kSaveMapTitle[] = u"Save the map as a picture";
inline constexpr char16_t kPictures[] = u"PNG pictures";
inline constexpr char16_t kNoStorage[] =
    u"No storage is open.\r\n\r\n\"Open drive...\" opens a drive without reading from it, and "
    u"\"Open file...\" an image or a cache. \"New storage...\" then makes a read-once storage of "
    u"the drive: what is read from it goes into a cache file, and is not read from the drive "
    u"again.";
inline constexpr char16_t kNotRead[] =
    u"Nothing has been read from this drive yet.\r\n\r\nIf it is failing, press \"New storage...\" "
    u"and choose it there: each sector that is read then goes into a cache file.\r\n\r\nIf it "
    u"is sound, right-click it in the list and choose \"Read directly...\".";
inline constexpr char16_t kNoPartitions[] =
    u"Nothing was recognised on this storage: no partitions and no file system.";
inline constexpr char16_t kNoMap[] =
    u"There is no map: this storage has no cache, or none that the host knows of.\r\n\r\nPress "
    u"\"New storage...\" to make a read-once storage with a cache, or \"Open file...\" to look at "
    u"a cache.";
inline constexpr char16_t kNoLog[] =
    u"There is no log: this storage has no cache, or none that the host knows of.\r\n\r\nOpen the "
    u"cache of a rescue with \"Open file...\" to see what happened in it.";
inline constexpr char16_t kReadingLog[] = u"Reading the log...";
inline constexpr char16_t kReadWithoutCache[] =
    u"Read this drive without a cache?\nEverything you look at is then read from it again, and a "
    u"failing drive\nmay be readable only once more. \"New storage...\" is the safe way.";
inline constexpr char16_t kCounting[] = u"Counting...";
inline constexpr char16_t kOpenAlready[] = u"This storage is already open.";
inline constexpr char16_t kMadeAlready[] =
    u"This storage, or one with the same cache, is already open.\nThe one opened now was closed.";
inline constexpr char16_t kNothingMade[] = u"No storage was made.";
inline constexpr char16_t kNoModule[] = u"There is no module beside the program.";
inline constexpr char16_t kNoMemory[] = u"There is not enough memory.";
inline constexpr char16_t kMapSaved[] = u"The map was saved as ";
inline constexpr char16_t kCopied[] = u"Copied.";
inline constexpr char16_t kNotCopied[] =
    u"Nothing was copied: another program is using the clipboard. Try again.";
inline constexpr char16_t kCacheAlone[] =
    u"A cache alone. To read what is missing, open its drive or image, press \"New storage...\" "
    u"and choose this cache.";
inline constexpr char16_t kReady[] = u"Open a storage, or make one from a failing disk.";

}  // namespace larkspur::host::texts
