// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What of a file system cannot be said by the place of a field alone: labels that are entries of a
// folder or records of a table, versions put together from several fields. Each takes the bytes
// with offsets counted from the format's own structure, and leaves a fault where something is not
// there.

#include "partitions/node_bytes.h"
#include "partitions/notes.h"

namespace larkspur {

void DescribeExt(NodeBytes& bytes, ContentNote* note);
void DescribeOcfs2(NodeBytes& bytes, ContentNote* note);
void DescribeF2fs(NodeBytes& bytes, ContentNote* note);
void DescribeFat(NodeBytes& bytes, ContentNote* note);
void DescribeExfat(NodeBytes& bytes, ContentNote* note);
void DescribeNtfs(NodeBytes& bytes, ContentNote* note);
void DescribeHfs(NodeBytes& bytes, ContentNote* note);
void DescribeWrappedHfsPlus(NodeBytes& bytes, ContentNote* note);
void DescribeHfsPlus(NodeBytes& bytes, ContentNote* note);
void DescribeIso9660(NodeBytes& bytes, ContentNote* note);
void DescribeUdf(NodeBytes& bytes, ContentNote* note);
void DescribeZfs(NodeBytes& bytes, ContentNote* note);
void DescribeLvm2(NodeBytes& bytes, ContentNote* note);
void DescribeMd0(NodeBytes& bytes, ContentNote* note);

}  // namespace larkspur
