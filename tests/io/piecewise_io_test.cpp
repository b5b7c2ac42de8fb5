// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/piecewise_io.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "io/failing_io.h"

namespace larkspur {
namespace {

class PiecewiseIO : public testing::Test {
 protected:
  u32 Read(u64 sector, u32 count) {
    m_buffer.assign(u64{count} * kSectorBytes, 0xEE);
    m_io.SetPosition(sector);
    return m_io.Read(m_buffer.data(), count);
  }
  // Asks for [first, first+count) one by one: a letter each, '1' delivered, '-' not.
  std::string Singly(u64 first, u32 count) {
    std::string text;
    for (u64 sector = first; sector < first + count; ++sector) {
      const bool delivered = Read(sector, 1) == 1;
      if (delivered) {
        EXPECT_TRUE(fakes::IsPattern(sector, m_buffer.data())) << sector;
      }
      text += delivered ? '1' : '-';
    }
    return text;
  }

  std::shared_ptr<fakes::SourceScript> m_script = std::make_shared<fakes::SourceScript>(1000);
  std::shared_ptr<SourceTraffic> m_traffic = std::make_shared<SourceTraffic>();
  cPiecewiseIO m_io{fakes::SourceOn(m_script), m_traffic};
  std::vector<u8> m_buffer;
};

TEST_F(PiecewiseIO, AsksInAlignedPieces) {
  std::string requests;
  m_script->onRequest = [&requests](u64 sector, u32 count) {
    requests += std::to_string(sector) + "+" + std::to_string(count) + " ";
  };
  EXPECT_EQ(Read(100, 300), 300u);
  EXPECT_EQ(requests, "100+28 128+128 256+128 384+16 ");
  for (u64 i = 0; i < 300; ++i) {
    EXPECT_TRUE(fakes::IsPattern(100 + i, &m_buffer[i * kSectorBytes]));
  }
  requests.clear();
  EXPECT_EQ(Read(400, 10), 10u) << "the position is the caller's";
  EXPECT_EQ(m_io.Read(m_buffer.data(), 1), 1u);
  EXPECT_TRUE(fakes::IsPattern(410, m_buffer.data())) << "it advances";
}

TEST_F(PiecewiseIO, KeepsWhatAShortRequestDelivered) {
  m_script->failing = {300};
  EXPECT_EQ(Read(100, 600), 200u) << "up to the failing sector";
  EXPECT_EQ(m_script->Asked(699), 1u) << "and the rest is asked and kept";
  const u64 requests = m_script->requests;
  EXPECT_EQ(Singly(100, 200), std::string(200, '1'));
  EXPECT_EQ(m_script->requests, requests) << "from what was kept";
  EXPECT_EQ(Singly(300, 400), "-" + std::string(399, '1'));
  EXPECT_EQ(m_script->requests, requests + 84) << "those of 300 to 383 were asked alone";
  EXPECT_EQ(Singly(300, 1), "-");
  EXPECT_EQ(m_script->askedAlone[300], 1u) << "asked alone once";
  EXPECT_EQ(m_script->AskedMoreThan(2), "");
}

TEST_F(PiecewiseIO, ASingleSectorIsAskedOnce) {
  m_script->failing = {5, 128};
  EXPECT_EQ(Read(5, 1), 0u);
  EXPECT_EQ(Singly(5, 1), "-");
  EXPECT_EQ(m_script->Asked(5), 1u);
  EXPECT_EQ(Read(127, 2), 1u);
  EXPECT_EQ(Singly(127, 2), "1-") << "a piece of one sector was asked alone already";
  EXPECT_EQ(m_script->Asked(128), 1u);
}

TEST_F(PiecewiseIO, AsksForPhysicalSectorsUnlessTheyAreOdd) {
  m_script->failing = {4};
  for (const auto& [sectorBytes, alone] : {std::pair{520u, 1u}, {1024u, 0u}, {512u, 1u}}) {
    m_script->Forget();
    m_script->sectorBytes = sectorBytes;
    cPiecewiseIO io(fakes::SourceOn(m_script), m_traffic);
    m_buffer.resize(8 * kSectorBytes);
    EXPECT_EQ(io.Read(m_buffer.data(), 8), 4u);
    io.SetPosition(4);
    EXPECT_EQ(io.Read(m_buffer.data(), 1), 0u);
    EXPECT_EQ(m_script->askedAlone[4], alone) << sectorBytes;
  }
}

TEST_F(PiecewiseIO, NeverAsksBehindTheEnd) {
  m_script->deliversPrefix = false;
  EXPECT_EQ(Read(950, 200), 50u);
  EXPECT_EQ(Singly(950, 50), std::string(50, '1'));
  EXPECT_EQ(Singly(999, 3).front(), '1');
  EXPECT_EQ(m_script->AskedMoreThan(1), "");
  EXPECT_EQ(m_script->requestsPastEnd, 0u);
  EXPECT_FALSE(m_traffic->gone);
}

TEST_F(PiecewiseIO, ASourceThatShrinksIsGone) {
  m_script->liveSectors = 300;
  EXPECT_EQ(Read(200, 600), 100u);
  EXPECT_TRUE(m_traffic->gone);
  EXPECT_EQ(Singly(200, 102), std::string(100, '1') + "--");
  EXPECT_EQ(m_script->requests, 2u) << "nothing is asked of what is gone";
}

TEST_F(PiecewiseIO, ClonesShareTheirTraffic) {
  const Owned<cBaseIO> clone(m_io.Clone());
  ASSERT_TRUE(clone);
  EXPECT_TRUE(m_io.IsSameAs(clone.get()));
  m_buffer.resize(kSectorBytes);
  EXPECT_EQ(clone->Read(m_buffer.data(), 1), 1u);
  EXPECT_TRUE(m_io.QueryCapability());
  EXPECT_EQ(m_io.GetSectorCount(), 1000u);
  EXPECT_EQ(m_io.SetPosition(1001), 1000u);
  EXPECT_EQ(std::u16string(m_io.GetName()), u"recording source");
  const auto other = fakes::SourceOn(m_script);
  EXPECT_FALSE(m_io.IsSameAs(other.get()));
  EXPECT_FALSE(m_io.IsSameAs(nullptr));
}

TEST(FailingIO, DeliversWhatComesBeforeTheFirstFailingSector) {
  const auto ranges = std::make_shared<const std::vector<SectorRange>>(
      std::vector<SectorRange>{{0, 10}, {10, 5}, {20, 1}, {90, 20}});
  const auto store = fakes::StoreOf(fakes::Pattern(0, 100));
  cFailingIO io(fakes::DiskOn(store), ranges);
  const struct {
    u64 first;
    u32 count, delivered;
  } cases[] = {{0, 5, 5},  {0, 15, 15}, {0, 20, 15}, {14, 5, 1},  {15, 1, 0},  {19, 5, 0},
               {20, 1, 1}, {20, 2, 1},  {89, 2, 0},  {95, 10, 5}, {100, 1, 0}, {150, 1, 0}};
  for (const auto& c : cases) {
    std::vector<u8> buffer(u64{c.count} * kSectorBytes);
    io.SetPosition(c.first);
    EXPECT_EQ(io.Read(buffer.data(), c.count), c.delivered) << c.first << "+" << c.count;
    for (u32 i = 0; i < c.delivered; ++i) {
      EXPECT_TRUE(fakes::IsPattern(c.first + i, &buffer[i * kSectorBytes]));
    }
  }
  const Owned<cBaseIO> clone(io.Clone());
  EXPECT_TRUE(io.IsSameAs(clone.get()));
  EXPECT_EQ(clone->GetSectorCount(), 100u);
  EXPECT_EQ(io.Write(0, store->bytes.data(), 1), 0u) << "never written to";
}

}  // namespace
}  // namespace larkspur
