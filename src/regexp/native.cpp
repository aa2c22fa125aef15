// The library's own regular expression engine: a compact backtracking
// matcher. A recursive-descent compiler turns the pattern, in two passes
// (one that sizes, one that writes), into a program of linked byte-coded
// nodes; a recursive interpreter walks that program over the subject.
// Bytes, case-sensitive, leftmost match, first successful alternative,
// greedy repetitions.
//
// All state of a compilation and of a match lies in a record on the
// caller's stack. Nodes are addressed by their offset in the program, so
// the sizing pass runs the very same code with emission switched off.
#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "regexp/regexp_private.h"

namespace {

// ---- program layout ----

constexpr unsigned char kMagic = 0234;
constexpr size_t kMaxProgram = 65535;
constexpr size_t kMaxLink = 0x7FFF; // a next offset has 15 bits

enum Opcode : unsigned char {
    END = 0,
    BOL = 1,
    EOL = 2,
    ANY = 3,
    ANYOF = 4,
    ANYBUT = 5,
    BRANCH = 6,
    BACK = 7,
    EXACTLY = 8,
    NOTHING = 9,
    STAR = 10,
    PLUS = 11,
    OPEN = 20,
    CLOSE = 30,
};

// Flags that the parse functions give to their callers.
constexpr int NONEMPTY = 1; // never matches the empty text
constexpr int ONEBYTE = 2;  // matches exactly one byte: STAR and PLUS can serve it
constexpr int REPSTART = 4; // begins with a repetition

constexpr char kMeta[] = "^$.[()|?+*\\";

bool is_mult(unsigned char c)
{
    return c == '*' || c == '+' || c == '?';
}

// The compiled record: the public part of the engine. The program follows
// the record.
struct Record {
    NRegexpSubs subs;
    char start_byte;  // if not 0, every match begins with this byte
    char anchored;    // if not 0, a match can begin only at the subject's start
    const char *must; // if not null, a text that every match contains
    int32_t must_length;
};

unsigned char *program_of(Record *record)
{
    return reinterpret_cast<unsigned char *>(record + 1);
}

// The private part: the compile state left by the sizing pass, and a table
// of the bytes that can begin a match, worked out after compiling.
struct CompileState {
    const unsigned char *parse; // position in the pattern
    int npar;                   // number of the next group
    unsigned char *code;        // the program, or null in the sizing pass
    size_t size;                // bytes emitted or counted, the magic byte included
    bool link_too_long;         // a next offset did not fit in 15 bits
};

struct Private {
    CompileState state;
    bool use_first; // first[] is valid: every match begins with one of its bytes
    bool first[256];
};

constexpr size_t kNone = 0; // offset 0 is the magic byte, never a node

unsigned char op_at(const unsigned char *program, size_t node)
{
    return program[node];
}

size_t operand(size_t node)
{
    return node + 3;
}

// The node after `node', or kNone.
size_t next_of(const unsigned char *program, size_t node)
{
    const size_t offset = (static_cast<size_t>(program[node + 1] & 0x7F) << 8) | program[node + 2];
    if (offset == 0)
        return kNone;
    return program[node] == BACK ? node - offset : node + offset;
}

// ---- compiler ----

class Compiler {
public:
    Compiler(CompileState &state) : s_(state) {}

    // An expression, inside parentheses or not; kNone on a syntax fault.
    size_t reg(bool paren, int &flags);

private:
    size_t branch(int &flags);
    size_t piece(int &flags);
    size_t atom(int &flags);

    size_t node(unsigned char op)
    {
        const size_t at = s_.size;
        if (s_.code != nullptr) {
            s_.code[at] = op;
            s_.code[at + 1] = 0;
            s_.code[at + 2] = 0;
        }
        s_.size += 3;
        return at;
    }

    void byte(unsigned char b)
    {
        if (s_.code != nullptr)
            s_.code[s_.size] = b;
        ++s_.size;
    }

    // Puts a node of op in front of the code at `at', which moves up.
    void insert(unsigned char op, size_t at)
    {
        if (s_.code != nullptr) {
            n_bcopy(s_.code + at + 3, s_.code + at, s_.size - at);
            s_.code[at] = op;
            s_.code[at + 1] = 0;
            s_.code[at + 2] = 0;
        }
        s_.size += 3;
    }

    // Links the last node of the chain that starts at p to val. Once a link
    // has failed to fit, chains can't be walked any more; the compilation
    // only runs on to its end and is then refused.
    void tail(size_t p, size_t val)
    {
        if (s_.code == nullptr || p == kNone || s_.link_too_long)
            return;
        size_t scan = p;
        for (size_t next; (next = next_of(s_.code, scan)) != kNone;)
            scan = next;
        const size_t offset = s_.code[scan] == BACK ? scan - val : val - scan;
        if (offset > kMaxLink)
            s_.link_too_long = true;
        s_.code[scan + 1] = static_cast<unsigned char>((offset >> 8) & 0x7F);
        s_.code[scan + 2] = static_cast<unsigned char>(offset & 0xFF);
    }

    // tail on the operand of p, if p is a BRANCH.
    void op_tail(size_t p, size_t val)
    {
        if (s_.code == nullptr || p == kNone || s_.code[p] != BRANCH)
            return;
        tail(operand(p), val);
    }

    CompileState &s_;
};

size_t Compiler::reg(bool paren, int &flags)
{
    flags = NONEMPTY;
    size_t ret = kNone;
    int parno = 0;
    if (paren) {
        if (s_.npar >= kRegexpSubs)
            return kNone;
        parno = s_.npar++;
        ret = node(static_cast<unsigned char>(OPEN + parno));
    }

    int sub = 0;
    size_t br = branch(sub);
    if (br == kNone)
        return kNone;
    if (ret != kNone)
        tail(ret, br);
    else
        ret = br;
    if ((sub & NONEMPTY) == 0)
        flags &= ~NONEMPTY;
    flags |= sub & REPSTART;
    while (*s_.parse == '|') {
        ++s_.parse;
        br = branch(sub);
        if (br == kNone)
            return kNone;
        tail(ret, br);
        if ((sub & NONEMPTY) == 0)
            flags &= ~NONEMPTY;
        flags |= sub & REPSTART;
    }

    const size_t ender = node(paren ? static_cast<unsigned char>(CLOSE + parno) : static_cast<unsigned char>(END));
    tail(ret, ender);
    if (s_.code != nullptr)
        for (size_t b = ret; b != kNone && !s_.link_too_long; b = next_of(s_.code, b))
            op_tail(b, ender);

    if (paren) {
        if (*s_.parse++ != ')')
            return kNone;
    } else if (*s_.parse != '\0') {
        return kNone; // a ")" without its "("
    }
    return ret;
}

size_t Compiler::branch(int &flags)
{
    flags = 0;
    const size_t ret = node(BRANCH);
    size_t chain = kNone;
    while (*s_.parse != '\0' && *s_.parse != '|' && *s_.parse != ')') {
        int sub = 0;
        const size_t latest = piece(sub);
        if (latest == kNone)
            return kNone;
        flags |= sub & NONEMPTY;
        if (chain == kNone)
            flags |= sub & REPSTART;
        else
            tail(chain, latest);
        chain = latest;
    }
    if (chain == kNone)
        (void)node(NOTHING);
    return ret;
}

size_t Compiler::piece(int &flags)
{
    int sub = 0;
    const size_t ret = atom(sub);
    if (ret == kNone)
        return kNone;
    const unsigned char op = *s_.parse;
    if (!is_mult(op)) {
        flags = sub;
        return ret;
    }
    if ((sub & NONEMPTY) == 0 && op != '?')
        return kNone; // "*" or "+" on what may match the empty text
    flags = op == '*' ? REPSTART : op == '+' ? NONEMPTY | REPSTART : 0;

    if (op == '*' && (sub & ONEBYTE) != 0) {
        insert(STAR, ret);
    } else if (op == '*') {
        // x* as (x&|), where & is a jump back to the BRANCH in front of x.
        insert(BRANCH, ret);
        op_tail(ret, node(BACK));
        op_tail(ret, ret);
        tail(ret, node(BRANCH));
        tail(ret, node(NOTHING));
    } else if (op == '+' && (sub & ONEBYTE) != 0) {
        insert(PLUS, ret);
    } else if (op == '+') {
        // x+ as x(&|), where & is a jump back to x.
        const size_t next = node(BRANCH);
        tail(ret, next);
        tail(node(BACK), ret);
        tail(next, node(BRANCH));
        tail(ret, node(NOTHING));
    } else {
        // x? as (x|)
        insert(BRANCH, ret);
        tail(ret, node(BRANCH));
        const size_t next = node(NOTHING);
        tail(ret, next);
        op_tail(ret, next);
    }
    ++s_.parse;
    if (is_mult(*s_.parse))
        return kNone; // a second repetition operator
    return ret;
}

size_t Compiler::atom(int &flags)
{
    flags = 0;
    size_t ret = kNone;
    switch (*s_.parse++) {
    case '^':
        ret = node(BOL);
        break;
    case '$':
        ret = node(EOL);
        break;
    case '.':
        ret = node(ANY);
        flags |= NONEMPTY | ONEBYTE;
        break;
    case '[': {
        if (*s_.parse == '^') {
            ret = node(ANYBUT);
            ++s_.parse;
        } else {
            ret = node(ANYOF);
        }
        if (*s_.parse == ']' || *s_.parse == '-')
            byte(*s_.parse++);
        while (*s_.parse != '\0' && *s_.parse != ']') {
            if (*s_.parse != '-') {
                byte(*s_.parse++);
                continue;
            }
            ++s_.parse;
            if (*s_.parse == ']' || *s_.parse == '\0') {
                byte('-');
                continue;
            }
            // A range from the byte before the "-" (already stored) to the
            // byte after it.
            unsigned first = static_cast<unsigned>(s_.parse[-2]) + 1;
            const unsigned last = s_.parse[0];
            if (first > last + 1)
                return kNone;
            for (; first <= last; ++first)
                byte(static_cast<unsigned char>(first));
            ++s_.parse;
        }
        byte('\0');
        if (*s_.parse != ']')
            return kNone;
        ++s_.parse;
        flags |= NONEMPTY | ONEBYTE;
        break;
    }
    case '(': {
        int sub = 0;
        ret = reg(true, sub);
        if (ret == kNone)
            return kNone;
        flags |= sub & (NONEMPTY | REPSTART);
        break;
    }
    case '\0':
    case '|':
    case ')':
    case '?':
    case '+':
    case '*':
        return kNone; // a repetition with nothing in front of it
    case '\\':
        if (*s_.parse == '\0')
            return kNone;
        ret = node(EXACTLY);
        byte(*s_.parse++);
        byte('\0');
        flags |= NONEMPTY | ONEBYTE;
        break;
    default: {
        --s_.parse;
        size_t len = std::strcspn(reinterpret_cast<const char *>(s_.parse), kMeta);
        // A repetition operator binds the last byte of the run only.
        if (len > 1 && is_mult(s_.parse[len]))
            --len;
        flags |= NONEMPTY;
        if (len == 1)
            flags |= ONEBYTE;
        ret = node(EXACTLY);
        for (; len > 0; --len)
            byte(*s_.parse++);
        byte('\0');
        break;
    }
    }
    return ret;
}

// Runs the parser over pattern: kNone on a syntax fault.
size_t parse_pattern(CompileState &state, const char *pattern, int &flags)
{
    state.parse = reinterpret_cast<const unsigned char *>(pattern);
    state.npar = 1;
    state.size = 1; // the magic byte
    state.link_too_long = false;
    if (state.code != nullptr)
        state.code[0] = kMagic;
    Compiler compiler(state);
    return compiler.reg(false, flags);
}

// ---- bytes that can begin a match ----

// Adds to first[] the bytes that can begin a match from node on; false
// when a match from there can begin with the empty text or the answer is
// not known. A BACK is reached only after a piece that consumed bytes, so
// it adds nothing. budget bounds the work: nested optional groups would
// otherwise make the walk exponential.
bool first_bytes(const unsigned char *program, size_t node, bool (&first)[256], int depth, int &budget)
{
    if (depth > 64 || --budget < 0)
        return false;
    for (; node != kNone; node = next_of(program, node)) {
        const unsigned char op = op_at(program, node);
        const auto *text = program + operand(node);
        switch (op) {
        case EXACTLY:
            first[text[0]] = true;
            return true;
        case ANY:
            for (int c = 1; c < 256; ++c)
                first[c] = true;
            return true;
        case ANYOF:
            for (; *text != '\0'; ++text)
                first[*text] = true;
            return true;
        case ANYBUT: {
            bool out[256] = {};
            for (; *text != '\0'; ++text)
                out[*text] = true;
            for (int c = 1; c < 256; ++c)
                first[c] = first[c] || !out[c];
            return true;
        }
        case PLUS:
            return first_bytes(program, operand(node), first, depth + 1, budget);
        case STAR:
            if (!first_bytes(program, operand(node), first, depth + 1, budget))
                return false;
            break; // or the rest
        case BRANCH: {
            const size_t next = next_of(program, node);
            if (next == kNone || op_at(program, next) != BRANCH)
                return first_bytes(program, operand(node), first, depth + 1, budget);
            for (size_t b = node; b != kNone && op_at(program, b) == BRANCH; b = next_of(program, b))
                if (!first_bytes(program, operand(b), first, depth + 1, budget))
                    return false;
            return true;
        }
        case BACK:
            return true;
        case NOTHING:
            break;
        default:
            if (op > OPEN && op < OPEN + kRegexpSubs)
                break;
            if (op > CLOSE && op < CLOSE + kRegexpSubs)
                break;
            return false; // END, BOL, EOL, or a corrupt node
        }
    }
    return false;
}

// ---- interpreter ----

thread_local uint64_t native_step_limit = 0;

struct Matcher {
    const char *input;
    const char *bol;
    const char *subject_end; // found on demand; null until then
    NRegexpSubs *subs;
    const unsigned char *program;
    unsigned depth;
    uint64_t steps_left; // 0: no limit
    bool aborted;        // the depth or step limit was hit: give up

    size_t rest()
    {
        if (subject_end == nullptr || subject_end < input)
            subject_end = input + std::strlen(input);
        return static_cast<size_t>(subject_end - input);
    }

    bool step()
    {
        if (steps_left != 0 && --steps_left == 0)
            aborted = true;
        return !aborted;
    }

    size_t repeat(size_t node);
    bool run(size_t node);
};

// How many bytes the one-byte node can take from the input on.
size_t Matcher::repeat(size_t node)
{
    const auto *text = reinterpret_cast<const char *>(program + operand(node));
    switch (op_at(program, node)) {
    case ANY:
        return rest();
    case EXACTLY: {
        size_t count = 0;
        while (input[count] == text[0])
            ++count;
        return count;
    }
    case ANYOF:
        return std::strspn(input, text);
    case ANYBUT:
        return std::strcspn(input, text);
    default:
        return 0;
    }
}

class DepthGuard {
public:
    explicit DepthGuard(unsigned &depth) : depth_(depth) { ++depth_; }
    ~DepthGuard() { --depth_; }
    DepthGuard(const DepthGuard &) = delete;
    DepthGuard &operator=(const DepthGuard &) = delete;

private:
    unsigned &depth_;
};

bool Matcher::run(size_t scan)
{
    DepthGuard guard(depth);
    if (depth > tvk::regexp::kNativeDepthLimit) {
        aborted = true;
        return false;
    }
    while (scan != kNone) {
        if (!step())
            return false;
        size_t next = next_of(program, scan);
        const unsigned char op = op_at(program, scan);
        switch (op) {
        case BOL:
            if (input != bol)
                return false;
            break;
        case EOL:
            if (*input != '\0')
                return false;
            break;
        case ANY:
            if (*input == '\0')
                return false;
            ++input;
            break;
        case EXACTLY: {
            const auto *text = reinterpret_cast<const char *>(program + operand(scan));
            if (*text != *input)
                return false;
            const size_t len = std::strlen(text);
            if (len > 1 && std::strncmp(text, input, len) != 0)
                return false;
            input += len;
            break;
        }
        case ANYOF:
        case ANYBUT: {
            if (*input == '\0')
                return false;
            const auto *text = reinterpret_cast<const char *>(program + operand(scan));
            if ((std::strchr(text, *input) != nullptr) != (op == ANYOF))
                return false;
            ++input;
            break;
        }
        case NOTHING:
        case BACK:
            break;
        case BRANCH: {
            if (next == kNone || op_at(program, next) != BRANCH) {
                next = operand(scan); // no choice: no recursion
                break;
            }
            const char *save = input;
            do {
                if (run(operand(scan)))
                    return true;
                if (aborted)
                    return false;
                input = save;
                scan = next_of(program, scan);
            } while (scan != kNone && op_at(program, scan) == BRANCH);
            return false;
        }
        case STAR:
        case PLUS: {
            if (next == kNone)
                return false;
            const char noted = op_at(program, next) == EXACTLY
                                   ? static_cast<char>(program[operand(next)])
                                   : '\0';
            const size_t min = op == STAR ? 0 : 1;
            const char *save = input;
            size_t count = repeat(operand(scan));
            while (count >= min) {
                input = save + count;
                if (noted == '\0' || *input == noted) {
                    if (run(next))
                        return true;
                    if (aborted)
                        return false;
                }
                if (count-- == 0 || !step())
                    return false;
            }
            return false;
        }
        case END:
            return true;
        default:
            if (op > OPEN && op < OPEN + kRegexpSubs) {
                const int no = op - OPEN;
                const char *save = input;
                if (!run(next))
                    return false;
                if (subs->start[no] == nullptr)
                    subs->start[no] = save;
                return true;
            }
            if (op > CLOSE && op < CLOSE + kRegexpSubs) {
                const int no = op - CLOSE;
                const char *save = input;
                if (!run(next))
                    return false;
                if (subs->end[no] == nullptr)
                    subs->end[no] = save;
                return true;
            }
            return false;
        }
        scan = next;
    }
    return false; // a node without the next node that it needs
}

const char *opcode_name(unsigned char op, char (&buffer)[16])
{
    static const char *const names[] = {"END",    "BOL",    "EOL",     "ANY",     "ANYOF", "ANYBUT",
                                        "BRANCH", "BACK",   "EXACTLY", "NOTHING", "STAR",  "PLUS"};
    if (op <= PLUS)
        std::snprintf(buffer, sizeof buffer, ":%s", names[op]);
    else if (op > OPEN && op < OPEN + kRegexpSubs)
        std::snprintf(buffer, sizeof buffer, ":OPEN%d", op - OPEN);
    else if (op > CLOSE && op < CLOSE + kRegexpSubs)
        std::snprintf(buffer, sizeof buffer, ":CLOSE%d", op - CLOSE);
    else
        std::snprintf(buffer, sizeof buffer, ":?%d", op);
    return buffer;
}

} // namespace

namespace tvk::regexp {

void set_native_step_limit(uint64_t steps)
{
    native_step_limit = steps;
}

} // namespace tvk::regexp

NRC _NRegexpTarvolkAllocate(const char *pattern, size_t header_size, void **public_part,
                            void **private_part, void **header)
{
    CompileState state{};
    int flags = 0;
    if (parse_pattern(state, pattern, flags) == kNone)
        return NRC_REGEXP_INVALID;
    if (state.size > kMaxProgram)
        return NRC_REGEXP_TOO_BIG;
    const NRC rc = tvk::regexp::allocate_block(sizeof(Private), header_size, sizeof(Record) + state.size,
                                               public_part, private_part, header);
    if (rc != 0)
        return rc;
    static_cast<Private *>(*private_part)->state = state;
    return 0;
}

NRC _NRegexpTarvolkCompile(const char *pattern, void *public_part, void *private_part)
{
    auto *record = static_cast<Record *>(public_part);
    auto *priv = static_cast<Private *>(private_part);
    const size_t sized = priv->state.size;
    CompileState state{};
    state.code = program_of(record);
    int flags = 0;
    if (parse_pattern(state, pattern, flags) == kNone || state.size != sized)
        return NRC_REGEXP_INVALID;
    // A link of more than 15 bits can't be written in a node: such a
    // program is refused as too big, although it fits in 65535 bytes.
    if (state.link_too_long)
        return NRC_REGEXP_TOO_BIG;
    priv->state = state;

    const unsigned char *program = state.code;
    record->start_byte = 0;
    record->anchored = 0;
    record->must = nullptr;
    record->must_length = 0;
    size_t scan = 1; // the first BRANCH
    if (op_at(program, next_of(program, scan)) == END) {
        scan = operand(scan);
        if (op_at(program, scan) == EXACTLY)
            record->start_byte = static_cast<char>(program[operand(scan)]);
        else if (op_at(program, scan) == BOL)
            record->anchored = 1;
        if ((flags & REPSTART) != 0) {
            const char *longest = nullptr;
            size_t len = 0;
            for (; scan != kNone; scan = next_of(program, scan)) {
                if (op_at(program, scan) != EXACTLY)
                    continue;
                const auto *text = reinterpret_cast<const char *>(program + operand(scan));
                const size_t n = std::strlen(text);
                if (n >= len) {
                    longest = text;
                    len = n;
                }
            }
            record->must = longest;
            record->must_length = static_cast<int32_t>(len);
        }
    }

    // Not part of the record's contract: a table of the bytes that can
    // begin a match, so that the search skips other positions without
    // running the interpreter. It changes no result.
    priv->use_first = false;
    if (record->anchored == 0 && record->start_byte == 0) {
        for (bool &b : priv->first)
            b = false;
        int budget = 4096;
        priv->use_first = first_bytes(program, 1, priv->first, 0, budget);
    }
    return 0;
}

NRC _NRegexpTarvolkMatch(void *public_part, const char *subject, void *private_part)
{
    auto *record = static_cast<Record *>(public_part);
    const auto *priv = static_cast<const Private *>(private_part);
    const unsigned char *program = program_of(record);
    if (program[0] != kMagic)
        return NRC_REGEXP_INVALID;
    // Every try starts from clear slots. A failed try leaves none set
    // (a slot is written only once the whole match has succeeded), so
    // clearing once here is clearing before every try.
    record->subs = NRegexpSubs{};
    if (record->must != nullptr && std::strstr(subject, record->must) == nullptr)
        return NRC_REGEXP_NO_MATCH;

    Matcher m{};
    m.bol = subject;
    m.subs = &record->subs;
    m.program = program;
    m.steps_left = native_step_limit;
    auto attempt = [&](const char *at) {
        m.input = at;
        if (!m.run(1))
            return false;
        record->subs.start[0] = at;
        record->subs.end[0] = m.input;
        return true;
    };

    if (record->anchored != 0) {
        if (attempt(subject))
            return 0;
    } else if (record->start_byte != '\0') {
        for (const char *s = subject; (s = std::strchr(s, record->start_byte)) != nullptr && !m.aborted;
             ++s)
            if (attempt(s))
                return 0;
    } else if (priv->use_first) {
        for (const char *s = subject; *s != '\0' && !m.aborted; ++s)
            if (priv->first[static_cast<unsigned char>(*s)] && attempt(s))
                return 0;
    } else {
        const char *s = subject;
        do {
            if (attempt(s))
                return 0;
        } while (*s++ != '\0' && !m.aborted);
    }
    if (m.aborted) {
        record->subs = NRegexpSubs{};
        return NRC_FAILURE;
    }
    return NRC_REGEXP_NO_MATCH;
}

NRC _NRegexpTarvolkSubst(void *public_part, const char *templ, char *destination, void *)
{
    auto *record = static_cast<Record *>(public_part);
    if (program_of(record)[0] != kMagic)
        return NRC_REGEXP_INVALID;
    return tvk::regexp::substitute(record->subs, templ, destination);
}

NRC _NRegexpTarvolkGetSub(void *public_part, int32_t index, char *destination, void *)
{
    const auto *record = static_cast<const Record *>(public_part);
    // A negative index is out of range as well.
    if (index < 0 || index >= kRegexpSubs)
        return NRC_FAILURE;
    const char *start = record->subs.start[index];
    const char *end = record->subs.end[index];
    if (start == nullptr || end == nullptr)
        return NRC_FAILURE;
    tvk::regexp::copy_sub(start, end, destination);
    return 0;
}

void _NRegexpTarvolkFree(void *, void *private_part)
{
    n_free(private_part);
}

void _NRegexpTarvolkDump(void *public_part, void *)
{
    auto *record = static_cast<Record *>(public_part);
    const unsigned char *program = program_of(record);
    char name[16]; // the caller's own buffer: dumps may run in parallel
    unsigned char op = EXACTLY;
    size_t s = 1;
    while (op != END) {
        op = program[s];
        std::printf("%2d%s", static_cast<int>(s), opcode_name(op, name));
        const size_t next = next_of(program, s);
        if (next == kNone)
            std::printf("(0)");
        else
            std::printf("(%d)", static_cast<int>(next));
        s += 3;
        if (op == ANYOF || op == ANYBUT || op == EXACTLY) {
            for (; program[s] != '\0'; ++s)
                std::putchar(program[s]);
            ++s;
        }
        std::putchar('\n');
    }
    if (record->start_byte != '\0')
        std::printf("start `%c' ", record->start_byte);
    if (record->anchored != 0)
        std::printf("anchored ");
    if (record->must != nullptr)
        std::printf("must have \"%s\"", record->must);
    std::printf("\n");
}

const NRegexpApi nregex_api_tarvolk = {
    "Tarvolk Regular Expression Library",
    _NRegexpTarvolkAllocate,
    _NRegexpTarvolkCompile,
    _NRegexpTarvolkMatch,
    _NRegexpTarvolkSubst,
    _NRegexpTarvolkGetSub,
    _NRegexpTarvolkFree,
    _NRegexpTarvolkDump,
};
