// Tests of the DES password hash. The system's crypt_r (libcrypt) is the
// reference for passwords and salts of the alphabet; what it refuses (salts
// that are short or outside the alphabet) is checked through the salt's
// 6-bit values, which name an alphabet salt with the same hash.
#include <tarvolk/crypt.h>

#include <crypt.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::string alphabet = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

struct Reference {
    std::unique_ptr<crypt_data> data = std::make_unique<crypt_data>();
    std::string operator()(const std::string &password, const std::string &salt)
    {
        const char *out = crypt_r(password.c_str(), salt.c_str(), data.get());
        return out != nullptr ? out : "(null)";
    }
};

std::unique_ptr<NCryptState> new_state()
{
    return std::make_unique<NCryptState>();
}

std::string random_password(std::mt19937 &rng)
{
    std::string p(rng() % 13, ' ');
    for (char &c : p)
        c = static_cast<char>(1 + rng() % 255);
    return p;
}

// The alphabet character that a salt byte stands for (unsigned byte).
char equivalent(unsigned char c)
{
    const int v = c >= 97 ? c - 59 : c >= 65 ? c - 53 : c - 46;
    return alphabet[static_cast<unsigned>(v) & 63];
}

TEST(Crypt, EqualsSystemForEverySaltAndRandomPasswords)
{
    auto state = new_state();
    Reference ref;
    std::mt19937 rng(4711);
    for (char a : alphabet) {
        for (char b : alphabet) {
            const std::string salt{a, b};
            for (int k = 0; k < 2; ++k) {
                const std::string password = random_password(rng);
                const std::string got = n_crypt(password.c_str(), salt.c_str(), state.get());
                ASSERT_EQ(got, ref(password, salt)) << "salt " << salt << ", password of " << password.size();
            }
        }
    }
}

TEST(Crypt, SaltsTheSystemRefusesFollowTheirCharacterValues)
{
    auto state = new_state();
    Reference ref;
    const std::string password = "Tr0ub4dor";
    const std::string hash_of_dotdot = ref(password, "..").substr(2);
    // Every byte as first and as second character of the salt.
    for (int c = 1; c < 256; ++c) {
        const auto byte = static_cast<char>(c);
        const std::string first{byte, 'x'}, second{'x', byte};
        std::string got = n_crypt(password.c_str(), first.c_str(), state.get());
        EXPECT_EQ(got, first + ref(password, {equivalent(byte), 'x'}).substr(2)) << c;
        got = n_crypt(password.c_str(), second.c_str(), state.get());
        EXPECT_EQ(got, second + ref(password, {'x', equivalent(byte)}).substr(2)) << c;
    }
    // One character: the second counts as NUL (value 18, "G") and the
    // result repeats the first; characters behind the second never count.
    EXPECT_EQ(std::string(n_crypt(password.c_str(), "a", state.get())), "aa" + ref(password, "aG").substr(2));
    EXPECT_EQ(std::string(n_crypt(password.c_str(), "abXYZ", state.get())), ref(password, "ab"));
    // Empty and null salt: no perturbation, and the text is empty.
    for (const char *salt : {"", static_cast<const char *>(nullptr)}) {
        const char *out = n_crypt(password.c_str(), salt, state.get());
        EXPECT_EQ(out[0], '\0');
        EXPECT_EQ(out[1], '\0');
        EXPECT_EQ(std::string(out + 2), hash_of_dotdot);
    }
}

TEST(Crypt, OnlyTheFirstEightBytesAndTheirLowSevenBitsCount)
{
    auto state = new_state();
    const struct {
        const char *a, *b;
    } same[] = {
        {"abcdefgh", "abcdefghXYZ"},
        {"12345678", "123456789012345678901234567890"},
        {"\xc1\xe2\xe3", "Abc"},
        {"pass\xc8word", "passHwor"},
    };
    for (const auto &c : same) {
        const std::string a = n_crypt(c.a, "Zq", state.get());
        EXPECT_EQ(a, n_crypt(c.b, "Zq", state.get())) << c.b;
        EXPECT_EQ(a.size(), 13u);
    }
    EXPECT_EQ(std::string(n_crypt(nullptr, "Zq", state.get())), n_crypt("", "Zq", state.get()));
    EXPECT_EQ(n_crypt("x", "ab", nullptr), nullptr);
}

// One state, salts in any order (a repeated one, one and no character):
// each result as from a fresh state, and the state records its salt.
TEST(Crypt, OneStateServesAnySequenceOfSalts)
{
    auto shared = new_state();
    for (const char *salt : {"ab", "ab", "..", "zz", "a", "", "/9", "ab"}) {
        EXPECT_EQ(std::string(n_crypt("secret", salt, shared.get())), n_crypt("secret", salt, new_state().get()));
        EXPECT_EQ(std::string(shared->current_salt, 2), std::string(salt).append(2, '\0').substr(0, 2));
        EXPECT_EQ(shared->initialized, 1);
    }
}

// The steps one by one; a salt changed on a built state rewrites only the
// difference, and must leave the tables as a fresh build with that salt.
TEST(Crypt, StepsAndSaltChangesOnABuiltState)
{
    auto stepped = new_state(), fresh = new_state();
    _NCryptInitDES_r(stepped.get());
    for (const char *salt : {"ab", "zZ", "..", "Q", "q7", "ab"}) {
        _NCryptSetupSalt_r(salt, stepped.get());
        std::memset(fresh.get(), 0, sizeof(NCryptState));
        _NCryptSetupSalt_r(salt, fresh.get());
        ASSERT_EQ(std::memcmp(stepped->sb0, fresh->sb0, 4 * sizeof stepped->sb0), 0) << salt;
        EXPECT_EQ(stepped->current_saltbits, fresh->current_saltbits);

        const char key[8] = {'h', 'u', 'n', 't', 'e', 'r', '2', '\0'};
        _NCryptMakeKeyTable_r(key, stepped.get());
        uint32_t block[4] = {};
        _NCryptDoEncrypt_r(25, stepped.get(), block);
        _NCryptCalculateFinalPerm_r(block, stepped.get());
        _NCryptOutputConversion_r(block[0], block[1], salt, stepped.get());
        EXPECT_STREQ(stepped->result, n_crypt("hunter2", salt, fresh.get())) << salt;
    }
}

// The expected long result, built from n_crypt of the blocks alone.
std::string blocks_expected(const std::string &password, const std::string &salt, size_t blocks)
{
    auto state = new_state();
    std::string out = salt;
    for (size_t b = 0; b < blocks; ++b)
        out += std::string(n_crypt(password.substr(8 * b, 8).c_str(), salt.c_str(), state.get())).substr(salt.size());
    return out;
}

TEST(CryptBlock, HashesBlocksAloneAndCutsThePasswordInPlace)
{
    const struct {
        size_t length;
        std::string salt;
        size_t blocks; // taken
        size_t kept;   // password bytes left in place
    } cases[] = {
        {1, "ab", 1, 1},   {8, "ab", 1, 8},    {9, "ab", 2, 9},     {16, "ab", 2, 16},
        {88, "ab", 11, 88}, {89, "ab", 11, 88}, {300, "ab", 11, 88}, {17, "a", 3, 17},
        {300, "a", 10, 80}, {300, "", 16, 128}, {130, "", 16, 128},
    };
    std::mt19937 rng(99);
    for (const auto &c : cases) {
        std::string password(c.length, ' ');
        for (char &ch : password)
            ch = static_cast<char>('!' + rng() % 90);
        std::vector<char> buffer(password.begin(), password.end());
        buffer.push_back('\0');
        auto state = new_state();
        const std::string got = n_cryptblock(buffer.data(), c.salt.c_str(), state.get());
        SCOPED_TRACE(std::to_string(c.length) + " bytes, salt \"" + c.salt + "\"");
        EXPECT_EQ(got, c.salt.empty() ? "" : blocks_expected(password, c.salt, c.blocks));
        EXPECT_LE(got.size(), 128u);
        EXPECT_EQ(std::strlen(buffer.data()), c.kept);
        EXPECT_EQ(std::string(buffer.data()), password.substr(0, c.kept));
        EXPECT_EQ(std::string(state->block, 8), password.substr(8 * (c.blocks - 1), 8).append(8, '\0').substr(0, 8));
    }
}

TEST(CryptBlock, ShortPasswordsEqualTheHash)
{
    auto state = new_state(), other = new_state();
    char nine[] = "123456789";
    EXPECT_EQ(std::strlen(n_cryptblock(nine, "ab", state.get())), 2u + 11 + 11);
    for (const char *password : {"a", "abcdefgh", ""}) {
        std::string copy = password;
        EXPECT_STREQ(n_cryptblock(copy.data(), "ab", state.get()), n_crypt(password, "ab", other.get()));
    }
    // An empty password gives the short result, with long_result cleared.
    char empty[] = "";
    EXPECT_EQ(n_cryptblock(empty, "ab", state.get()), state->result);
    EXPECT_EQ(state->long_result[0], '\0');
    // A string literal that isn't cut is never written to.
    EXPECT_STREQ(n_cryptblock(const_cast<char *>("literal"), "ab", state.get()), n_crypt("literal", "ab", other.get()));
    // The salt may be a previous long result in the same state.
    char pw[] = "0123456789abcdef";
    const std::string first = n_cryptblock(pw, "Kx", state.get());
    EXPECT_EQ(std::string(n_cryptblock(pw, state->long_result, state.get())), first);
    EXPECT_EQ(n_cryptblock(pw, "ab", nullptr), nullptr);
}

TEST(Crypt, TwoThreadsWithTwoStates)
{
    std::mt19937 rng(7);
    Reference ref;
    std::vector<std::string> passwords, salts, expected;
    for (int i = 0; i < 400; ++i) {
        passwords.push_back(random_password(rng));
        salts.push_back({alphabet[rng() % 64], alphabet[rng() % 64]});
        expected.push_back(ref(passwords.back(), salts.back()));
    }
    int wrong[2] = {0, 0};
    auto worker = [&](int id) {
        auto state = new_state();
        for (size_t i = static_cast<size_t>(id); i < passwords.size(); i += 2)
            wrong[id] += expected[i] != n_crypt(passwords[i].c_str(), salts[i].c_str(), state.get());
    };
    std::thread a(worker, 0), b(worker, 1);
    a.join();
    b.join();
    EXPECT_EQ(wrong[0] + wrong[1], 0);
}

} // namespace
