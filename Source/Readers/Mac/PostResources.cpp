#include "PostResources.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "Ascii.h"
#include "MacFindings.h"
#include "Md5.h"
#include "ProgramWords.h"

namespace {

constexpr std::int16_t kFirstId = 501;
constexpr std::size_t kMostDefects = 100;  // a program in many parts can be wrong in all of them

enum class PostKind : std::uint8_t {
    eComment = 0,
    eText = 1,
    eBinary = 2,
    eEndOfFile = 3,
    eDataFork = 4,
    eEndOfFont = 5,
};

class Joiner {
  public:
    Joiner(FontResources& resources, const std::function<ByteView()>& dataFork, WorkLimit& work)
        : resources_(resources), dataFork_(dataFork), work_(work), most_(resources.size()) {}

    PostProgram run() {
        md5_state_t md5;
        md5_init(&md5);
        int expected = kFirstId;
        for (const std::int16_t id : programIds()) {
            result_.exists = true;
            if (id != expected) {
                report(finding::kPostMissing, static_cast<std::int16_t>(expected),
                       "next is " + std::to_string(id));
            }
            expected = id + 1;
            const FontResource post = resources_.get(FontResourceType::eProgram, id);
            if (post.status != noErr) {
                report(unreadableFinding(post.status), id, "");
                continue;
            }
            if (!work_.spend(post.bytes.size())) {
                break;
            }
            md5_append(&md5, post.bytes.data(), post.bytes.size());
            take(post);
        }
        if (result_.exists) {
            result_.fingerprint = md5FinishHex(&md5);
            if (!ended_) {
                report(finding::kPostWithoutEnd, static_cast<std::int16_t>(expected - 1), "");
            }
        }
        return std::move(result_);
    }

  private:
    std::vector<std::int16_t> programIds() {
        std::vector<std::int16_t> ids = resources_.ids(FontResourceType::eProgram);
        std::erase_if(ids, [](std::int16_t id) { return id < kFirstId; });
        std::sort(ids.begin(), ids.end());
        return ids;
    }

    void report(int code, std::int16_t id, const std::string& detail) {
        if (result_.defects.size() < kMostDefects) {
            result_.defects.push_back({code, id, detail});
        }
    }

    void take(const FontResource& post) {
        const ByteView bytes = post.bytes;
        if (bytes.empty()) {
            return;
        }
        if (ended_) {
            report(finding::kPostBehindEnd, post.id, "");
            return;
        }
        if (!bytes.holds(0, 2) || bytes.u8(1) != 0) {
            report(finding::kPostKind, post.id, bytes.holds(0, 2) ? tag(bytes) : "one byte");
        }
        switch (static_cast<PostKind>(bytes.u8(0))) {
            case PostKind::eComment:
                return;
            case PostKind::eText:
            case PostKind::eBinary:
                append(post.id, bytes.clamped(2, bytes.size()));
                return;
            case PostKind::eDataFork:
                appendDataFork(post.id);
                return;
            case PostKind::eEndOfFile:
            case PostKind::eEndOfFont:
                ended_ = true;
                return;
        }
        if (bytes.holds(0, 2) && bytes.u8(1) == 0) {
            report(finding::kPostKind, post.id, tag(bytes));
        }
    }

    static std::string tag(ByteView bytes) {
        return std::to_string(bytes.u8(0)) + " " + std::to_string(bytes.u8(1)) +
               ", should be 0 to 5 and 0";
    }

    // Many numbers may stand for the same bytes; sound programs are no longer than their file.
    void append(std::int16_t id, ByteView bytes) {
        if (result_.text.size() + bytes.size() > most_) {
            report(finding::kPostKind, id, "more text than the file has bytes");
            ended_ = true;
            return;
        }
        result_.text.insert(result_.text.end(), bytes.data(), bytes.data() + bytes.size());
    }

    void appendDataFork(std::int16_t id) {
        const ByteView bytes = dataFork_ && !dataForkTaken_ ? dataFork_() : ByteView();
        if (bytes.empty() || !work_.spend(bytes.size())) {
            report(finding::kPostMissing, id, "the data fork that it stands for");
            return;
        }
        dataForkTaken_ = true;
        most_ += bytes.size();
        append(id, bytes);
    }

    FontResources& resources_;
    const std::function<ByteView()>& dataFork_;
    WorkLimit& work_;
    std::size_t most_;
    PostProgram result_;
    bool ended_ = false;
    bool dataForkTaken_ = false;
};

}  // namespace

bool beginsLikePfa(std::string_view text) {
    text = behindBlanks(text);
    return std::any_of(std::begin(kType1Words), std::end(kType1Words),
                       [text](std::string_view word) { return text.starts_with(word); });
}

bool PostProgram::isType1() const {
    return beginsLikePfa(ByteView(text).text());
}

int PostProgram::fontType() const {
    constexpr std::string_view kKey = "/FontType";
    std::string_view clear = ByteView(text).text();
    clear = clear.substr(0, clear.find("eexec"));
    const std::size_t at = clear.find(kKey);
    int type = 1;
    if (at != clear.npos) {
        clear.remove_prefix(at + kKey.size());
        while (!clear.empty() && ascii::isSpace(clear.front())) {
            clear.remove_prefix(1);
        }
        std::from_chars(clear.data(), clear.data() + clear.size(), type);
    }
    return type;
}

PostProgram PostProgram::join(FontResources& resources, const std::function<ByteView()>& dataFork,
                              WorkLimit& work) {
    return Joiner(resources, dataFork, work).run();
}
