#include "ReadingDataFixture.h"
#include "readingdata/CBookAnnotationHelper.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

// --- one annotation
// -------------------------------------------------------------------------------

std::string Encoded(IBookAnnotation& annotation, unsigned int size) {
    std::string bytes(size, '~');
    EXPECT_EQ(QV_S_OK, annotation.WriteData(reinterpret_cast<unsigned char*>(&bytes[0]), size));
    return bytes;
}

QVRESULT Decode(IBookAnnotation& annotation, const std::string& bytes) {
    return annotation.ReadData(reinterpret_cast<const unsigned char*>(bytes.data()),
                               static_cast<unsigned int>(bytes.size()));
}

std::string CommentOf(IBookAnnotation& annotation) {
    char* comment = nullptr;
    const QVRESULT result = annotation.GetComment(&comment);
    const std::unique_ptr<char[]> owned(comment);
    return result == QV_S_OK ? comment : "none";
}

unsigned int LengthOf(IBookAnnotation& annotation) {
    unsigned int length = 0;
    EXPECT_EQ(QV_S_OK, annotation.GetLength(&length));
    return length;
}

const std::string Numbers("\3\0\0\0\2\1\0\0\4\0\0\0", 12); // block 3, offset 0x102, length 4

TEST(CBookAnnotationImplTest, EachType_Encoded_TakesItsSizeAndNotAByteLess) {
    char text[] = "note";
    const struct {
        char* comment;
        std::string bytes;
        int type;
        QVRESULT sizeResult;
    } rows[] = {
        {text, Numbers.substr(0, 8), QvAnnotationPosition, QV_S_OK},
        {text, Numbers, QvAnnotationRange, QV_S_OK},
        {nullptr, Numbers + '\0', QvAnnotationComment, QV_S_OK},
        {text, Numbers + "note" + '\0', QvAnnotationComment, QV_S_OK},
        {text, Numbers + "note" + '\0', 3, QV_E_FAIL},
    };
    for (const auto& row : rows) {
        CBookAnnotationImpl annotation(static_cast<QvAnnotationType>(row.type));
        annotation.SetBlockIndex(3);
        annotation.SetOffset(0x102);
        annotation.SetLength(4);
        if (row.comment) {
            EXPECT_EQ(QV_S_OK, annotation.SetComment(row.comment));
        }
        const auto size = static_cast<unsigned int>(row.bytes.size());
        unsigned int dataSize = size;
        EXPECT_EQ(row.sizeResult, annotation.GetDataSize(&dataSize));
        EXPECT_EQ(size, dataSize);
        EXPECT_EQ(row.bytes + "~", Encoded(annotation, size + 1));
        std::string small(size, '~');
        auto* buffer = reinterpret_cast<unsigned char*>(&small[0]);
        EXPECT_EQ(QV_E_INVALIDARG, annotation.WriteData(buffer, size - 1)) << row.type;
        EXPECT_EQ(std::string(size, '~'), small);
    }
}

TEST(CBookAnnotationImplTest, Decoding_TakesWhatTheTypeHasAndLeavesTheRest) {
    char old[] = "old";
    const auto make = [&old](int type) {
        auto annotation =
            std::make_unique<CBookAnnotationImpl>(static_cast<QvAnnotationType>(type));
        annotation->SetLength(77);
        annotation->SetComment(old);
        return annotation;
    };
    auto position = make(QvAnnotationPosition);
    EXPECT_EQ(QV_E_INVALIDARG, Decode(*position, Numbers.substr(0, 7)));
    EXPECT_EQ(QV_S_OK, Decode(*position, Numbers));
    EXPECT_EQ(77u, LengthOf(*position));
    EXPECT_EQ("old", CommentOf(*position));
    auto range = make(QvAnnotationRange);
    EXPECT_EQ(QV_E_INVALIDARG, Decode(*range, Numbers.substr(0, 11)));
    EXPECT_EQ(QV_S_OK, Decode(*range, Numbers));
    EXPECT_EQ(4u, LengthOf(*range));
    for (const int type : {2, 3}) {
        auto comment = make(type);
        EXPECT_EQ(QV_E_INVALIDARG, Decode(*comment, Numbers));
        EXPECT_EQ(77u, LengthOf(*comment));
        EXPECT_EQ(QV_E_INVALIDARG, Decode(*comment, Numbers + "endless"));
        EXPECT_EQ(4u, LengthOf(*comment)) << "the numbers are taken over";
        EXPECT_EQ("old", CommentOf(*comment));
        EXPECT_EQ(QV_S_OK, Decode(*comment, Numbers + "new" + '\0' + "tail"));
        EXPECT_EQ("new", CommentOf(*comment));
    }
}

TEST(CBookAnnotationHelperTest, BufferForm_NeedsOneByteMoreAndBookmarkTypeZero) {
    CBookAnnotationImpl annotation(QvAnnotationPosition);
    ASSERT_EQ(QV_S_OK, Decode(annotation, Numbers));
    unsigned char buffer[14] = {9, 9};
    EXPECT_EQ(0, CBookAnnotationHelper::SaveAnnotationToBuffer(&annotation, QvAnnotationComment,
                                                               buffer, 8));
    EXPECT_EQ(9, buffer[0]);
    EXPECT_EQ(1, CBookAnnotationHelper::SaveAnnotationToBuffer(&annotation, QvAnnotationComment,
                                                               buffer, 9));
    EXPECT_EQ('\0' + Numbers.substr(0, 8), std::string(buffer, buffer + 9));

    const auto created = [&buffer](unsigned int size, int type) {
        return std::unique_ptr<IBookAnnotation>(CBookAnnotationHelper::CreateAnnotationFromBuffer(
            buffer, size, static_cast<QvAnnotationType>(type)));
    };
    EXPECT_TRUE(created(9, 0));
    EXPECT_FALSE(created(8, 0));
    EXPECT_FALSE(created(0, 0));
    EXPECT_TRUE(created(13, 1));
    EXPECT_FALSE(created(13, 2));
    EXPECT_TRUE(created(14, 2));
    EXPECT_FALSE(created(14, 3));
    buffer[0] = 1;
    EXPECT_FALSE(created(9, 0));
    EXPECT_EQ(nullptr,
              CBookAnnotationHelper::CreateAnnotationFromBuffer(nullptr, 9, QvAnnotationPosition));
    EXPECT_EQ(
        0, CBookAnnotationHelper::SaveAnnotationToBuffer(nullptr, QvAnnotationPosition, buffer, 9));
}

// --- lists
// ----------------------------------------------------------------------------------------

class AnnotationListTest : public Fixture {
protected:
    static QVRESULT SetNotes(CQvpFile& file, QvAnnotationType type,
                             const std::vector<Note>& notes) {
        CBookAnnotationListProxy proxy(&file, 1);
        return Set(proxy, type, notes);
    }

    static std::vector<Note> Notes(CQvpFile& file, QvAnnotationType type) {
        CBookAnnotationListProxy proxy(&file, 1);
        std::vector<Note> notes;
        EXPECT_EQ(QV_S_OK, Get(proxy, type, &notes));
        return notes;
    }
};

TEST_F(AnnotationListTest, ListsOfEachType_Reopened_ComeBackInTheirOwnRecords) {
    std::vector<Note> positions, ranges, comments;
    for (unsigned int i = 0; i < 100; ++i) {
        positions.push_back({i, i + 1, 0, ""});
        ranges.push_back({i, i + 2, i + 3, ""});
        comments.push_back({i, i + 4, i + 5, std::string(std::size_t{i} * i, 'c')});
    }
    {
        auto file = Open(1);
        EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationPosition, positions));
        EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationRange, ranges));
        EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationComment, comments));
    }
    auto file = Open();
    EXPECT_EQ(positions, Notes(*file, QvAnnotationPosition));
    EXPECT_EQ(ranges, Notes(*file, QvAnnotationRange));
    EXPECT_EQ(comments, Notes(*file, QvAnnotationComment));
    std::vector<std::size_t> fixed; // lengths and counts of the records of types 5 and 6
    for (const Record& record : Records()) {
        if (record.type < 7)
            fixed.insert(fixed.end(), {record.data.size(), FromLe32(record.data, 0)});
        else
            EXPECT_LE(512u, record.data.size());
    }
    EXPECT_EQ((std::vector<std::size_t>{512, 56, 512, 44, 512, 39, 512, 39, 512, 22}), fixed);
}

TEST_F(AnnotationListTest, LongCommentBeforeReusedRecords_PassesThemOverAndGetsItsOwn) {
    auto file = Open(1);
    const std::vector<Note> small = {{1, 2, 3, "a"}, {4, 5, 6, ""}};
    EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationComment, small));
    EXPECT_EQ(QV_S_OK, file->Flush());
    const std::vector<Note> large = {{7, 8, 9, std::string(100000, 'L')}, {1, 1, 1, "after"}};
    EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationComment, large));
    file.reset();
    file = Open();
    EXPECT_EQ(large, Notes(*file, QvAnnotationComment));
    ASSERT_EQ(3u, Records().size());
    EXPECT_EQ(0u, FromLe32(Records()[0].data, 0));
    EXPECT_EQ(4u + 14 + 100000, Records()[1].data.size());
    EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationComment, small));
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(7, Records()[0].type);
    EXPECT_EQ(0, Records()[1].type);
    EXPECT_EQ(0, Records()[2].type);
    EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationComment, {}));
    IBookAnnotation* list = nullptr;
    EXPECT_EQ(QV_E_FAIL, CBookAnnotationListProxy(file.get(), 1)
                             .GetAnnotationList(QvAnnotationComment, &list, nullptr))
        << "all records are freed";
}

TEST_F(AnnotationListTest, Arguments_Refused_ChangeNothing) {
    auto file = Open(1);
    EXPECT_EQ(QV_S_OK, SetNotes(*file, QvAnnotationRange, {{1, 2, 3, ""}}));
    CBookAnnotationListProxy proxy(file.get(), 1), none(nullptr, 1);
    CBookAnnotationImpl mixed[] = {CBookAnnotationImpl(QvAnnotationRange),
                                   CBookAnnotationImpl(QvAnnotationPosition)};
    const auto third = static_cast<QvAnnotationType>(3);
    IBookAnnotation* list = mixed;
    unsigned int count = 0;
    EXPECT_EQ(QV_E_INVALIDARG, proxy.SetAnnotationList(QvAnnotationRange, mixed, 2));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.SetAnnotationList(QvAnnotationRange, nullptr, 1));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.SetAnnotationList(third, nullptr, 0));
    EXPECT_EQ(QV_E_NOTREADY, none.SetAnnotationList(third, nullptr, 1));
    EXPECT_EQ(QV_E_NOTREADY, none.GetAnnotationList(third, nullptr, &count));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.GetAnnotationList(QvAnnotationRange, nullptr, &count));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.GetAnnotationList(third, &list, &count));
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(QV_E_FAIL, proxy.GetAnnotationList(QvAnnotationPosition, &list, &count));
    EXPECT_EQ((std::vector<Note>{{1, 2, 3, ""}}), Notes(*file, QvAnnotationRange));
    EXPECT_EQ(nullptr, CBookAnnotationListProxy::NewList(third, 1));
}

TEST_F(AnnotationListTest, DamagedRecords_Read_PassOverWhatIsDamagedAndKeepWithinTheRecord) {
    const std::string good = '\0' + Numbers, foreign = '\1' + Numbers;
    Write(FileOf(
        {{6, 1, Le32(9) + good + foreign + good},
         {6, 1, "abc"},
         {6, 1, Le32(0xFFFFFFFF) + good + good.substr(0, 12)},
         {6, 2, Le32(1) + good},
         {7, 1, Le32(0x12345678) + good + "one" + '\0' + foreign + "two" + '\0' + good + "x"},
         {7, 1, Le32(2) + good + '\0' + good}}));
    auto file = Open();
    EXPECT_EQ((std::vector<Note>(3, {3, 0x102, 4, ""})), Notes(*file, QvAnnotationRange));
    EXPECT_EQ((std::vector<Note>{{3, 0x102, 4, "one"}, {3, 0x102, 4, ""}}),
              Notes(*file, QvAnnotationComment));
}

} // namespace
