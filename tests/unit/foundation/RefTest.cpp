// SPDX-License-Identifier: MIT
// Shared objects, and lists and texts of them.
#include <limits>
#include <thread>

#include "Support.h"
#include "engine/NamePool.h"
#include "foundation/List.h"

struct Counted : RefCounted {
    Counted() { ++s_alive; }
    ~Counted() override { s_alive -= seen ? 1 : 2; }
    bool seen = true;
    static inline std::atomic<int> s_alive{0};
};

TEST(Ref, DeletesItsObjectOnceBehindTheLastOwner) {
    auto first = makeRef<Counted>();
    Counted* const object = first.get();
    Ref<Counted>& alias = first;
    first = alias;
    first = std::move(alias);
    EXPECT_EQ(first.get(), object);
    auto second = Ref<Counted>::share(object);
    first = makeRef<Counted>();
    EXPECT_EQ(Counted::s_alive, 2);
    List<Counted> list;
    list.expect(std::numeric_limits<std::size_t>::max());  // a hint that must not be believed
    list.add(std::move(second));
    list.add(first);
    EXPECT_EQ(list[0].get(), object);
    list.clear();
    EXPECT_EQ(Counted::s_alive, 1);
    first = nullptr;
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(Ref, IsReleasedByAnyThread) {
    for (int round = 0; round < 500; ++round) {
        auto shared = makeRef<Counted>();
        shared->seen = false;
        std::thread other([own = shared] { own->seen = true; });  // whoever deletes the object has to see this
        shared = nullptr;
        other.join();
        ASSERT_EQ(Counted::s_alive, 0);
    }
}

TEST(Piece, SpellsEveryNumber) {
    EXPECT_EQ(concat(std::numeric_limits<std::int64_t>::min(), L" ", std::numeric_limits<std::uint64_t>::max(), L" ", 0,
                     L" ", -1, L" ", std::numeric_limits<std::int16_t>::min(), L" ", std::uint16_t{65535}),
              L"-9223372036854775808 18446744073709551615 0 -1 -32768 65535");
}

TEST(NamePool, KeepsEqualNamesOnce) {
    NamePool pool;
    const SharedString name = pool.get(std::string(100, 'x'));
    for (int i = 0; i < 1000; ++i)
        pool.get(std::to_string(i));
    EXPECT_EQ(pool.get(std::string(100, 'x')).view().data(), name.view().data());
    EXPECT_EQ(concat(pool.get("").view(), pool.get("7").view()), L"7");
}
