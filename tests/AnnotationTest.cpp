#include "ReadingDataFixture.h"
#include "readingdata/CBookAnnotationHelper.h"

using namespace readingdata;

namespace {

QVRESULT Decode(IBookAnnotation& annotation, const std::string& bytes) {
    return annotation.ReadData(reinterpret_cast<const unsigned char*>(bytes.data()),
                               static_cast<unsigned int>(bytes.size()));
}

QVRESULT Encode(IBookAnnotation& annotation, std::string* buffer) {
    return annotation.WriteData(reinterpret_cast<unsigned char*>(buffer->data()),
                                static_cast<unsigned int>(buffer->size()));
}

const std::string Numbers("\3\0\0\0\2\1\0\0\4\0\0\0", 12); // block 3, offset 0x102, length 4

using CBookAnnotationImplTest = Fixture;
using CBookAnnotationHelperTest = Fixture;

TEST_F(CBookAnnotationImplTest, EachTypeEncodedAndDecodedTakesItsSizeAndNotAByteLess) {
    const Note old = {9, 9, 77, "old"}, numbers = {3, 0x102, 4, "old"};
    // Type, comment, bytes, result for the size, decoded, decoded of a byte less.
    const std::tuple<int, std::string, std::string, QVRESULT, Note, Note> rows[] = {
        {QvAnnotationPosition, "a", Numbers.substr(0, 8), QV_S_OK, {3, 0x102, 77, "old"}, old},
        {QvAnnotationRange, "a", Numbers, QV_S_OK, numbers, old},
        {QvAnnotationComment, "", Numbers + '\0', QV_S_OK, {3, 0x102, 4, ""}, old},
        {QvAnnotationComment, "a", Numbers + "a" + '\0', QV_S_OK, {3, 0x102, 4, "a"}, numbers},
        {3, "a", Numbers + "a" + '\0', QV_E_FAIL, {3, 0x102, 4, "a"}, numbers},
    };
    for (const auto& [type, comment, bytes, sizeResult, decoded, decodedOfLess] : rows) {
        CBookAnnotationImpl annotation(static_cast<QvAnnotationType>(type));
        EXPECT_EQ(annotation.SetComment(nullptr), QV_E_INVALIDARG);
        Give({3, 0x102, 4, comment}, &annotation);
        const auto size = static_cast<unsigned int>(bytes.size());
        unsigned int dataSize = size;
        EXPECT_EQ(sizeResult, annotation.GetDataSize(&dataSize));
        EXPECT_EQ(size, dataSize);
        std::string buffer(size + 1, '~'), small(size - 1, '~');
        EXPECT_EQ(Encode(annotation, &buffer), QV_S_OK);
        EXPECT_EQ(bytes + "~", buffer);
        EXPECT_EQ(Encode(annotation, &small), QV_E_INVALIDARG) << type;
        EXPECT_EQ(std::string(size - 1, '~'), small);

        Give(old, &annotation);
        EXPECT_EQ(Decode(annotation, bytes.substr(0, size - 1)), QV_E_INVALIDARG);
        EXPECT_EQ(decodedOfLess, Take(annotation)) << type;
        EXPECT_EQ(Decode(annotation, bytes + "tail"), QV_S_OK);
        EXPECT_EQ(decoded, Take(annotation)) << type;
    }
}

TEST_F(CBookAnnotationHelperTest, BufferFormNeedsOneByteMoreAndBookmarkTypeZero) {
    CBookAnnotationImpl annotation(QvAnnotationPosition);
    ASSERT_EQ(Decode(annotation, Numbers), QV_S_OK);
    unsigned char buffer[14] = {9, 9};
    const auto save = [&buffer](IBookAnnotation* from, unsigned int size) {
        return CBookAnnotationHelper::SaveAnnotationToBuffer(from, QvAnnotationComment, buffer,
                                                             size);
    };
    EXPECT_EQ(save(nullptr, 9), 0);
    EXPECT_EQ(save(&annotation, 8), 0);
    EXPECT_EQ(buffer[0], 9);
    EXPECT_EQ(save(&annotation, 9), 1);
    EXPECT_EQ('\0' + Numbers.substr(0, 8), std::string(buffer, buffer + 9));

    const std::tuple<unsigned char, unsigned int, int, bool> rows[] = {
        {0, 9, 0, true},   {0, 8, 0, false}, {0, 0, 0, false},  {0, 13, 1, true},
        {0, 13, 2, false}, {0, 14, 2, true}, {0, 14, 3, false}, {1, 9, 0, false}};
    const auto create = CBookAnnotationHelper::CreateAnnotationFromBuffer;
    for (const auto& [bookmarkType, size, type, isCreated] : rows) {
        buffer[0] = bookmarkType;
        const std::unique_ptr<IBookAnnotation> created(
            create(buffer, size, static_cast<QvAnnotationType>(type)));
        EXPECT_EQ(isCreated, created != nullptr) << size << " of type " << type;
    }
    EXPECT_EQ(create(nullptr, 9, QvAnnotationPosition), nullptr);
}

class AnnotationListTest : public Fixture {
protected:
    QVRESULT SetNotes(const std::vector<Note>& notes) {
        return SetBy<CBookAnnotationListProxy>(*m_pFile, 1, QvAnnotationComment, notes);
    }

    // Of a list that is there.
    std::vector<Note> Notes(QvAnnotationType type) {
        const auto [result, notes] = GetBy<CBookAnnotationListProxy>(*m_pFile, 1, type);
        EXPECT_EQ(result, QV_S_OK);
        return notes;
    }
};

TEST_F(AnnotationListTest, LongCommentBeforeReusedRecordsPassesThemOverAndGetsItsOwn) {
    Reopen();
    const std::vector<Note> small = {{1, 2, 3, "a"}, {4, 5, 6, ""}};
    EXPECT_EQ(SetNotes(small), QV_S_OK);
    EXPECT_EQ(Shape(), "7*512(2) ");
    const std::vector<Note> large = {{7, 8, 9, std::string(100000, 'L')}, {1, 1, 1, "after"}};
    EXPECT_EQ(SetNotes(large), QV_S_OK);
    EXPECT_EQ(Shape(), "7*512(0) 7*100018(1) 7*512(1) ");
    Reopen();
    EXPECT_EQ(large, Notes(QvAnnotationComment));
    EXPECT_EQ(SetNotes(small), QV_S_OK);
    EXPECT_EQ(Shape(), "7*512(2) 0*100018(1) 0*512(1) ");
    EXPECT_EQ(SetNotes({}), QV_S_OK);
    EXPECT_EQ(GetBy<CBookAnnotationListProxy>(*m_pFile, 1, QvAnnotationComment).first, QV_E_FAIL);
}

TEST_F(AnnotationListTest, ArgumentsRefusedChangeNothing) {
    Reopen();
    EXPECT_EQ(SetNotes({{1, 2, 3, "a"}}), QV_S_OK);
    CBookAnnotationListProxy proxy(m_pFile.get(), 1);
    CBookAnnotationImpl mixed[] = {CBookAnnotationImpl(QvAnnotationComment),
                                   CBookAnnotationImpl(QvAnnotationPosition)};
    const auto third = static_cast<QvAnnotationType>(3);
    IBookAnnotation* list = mixed;
    EXPECT_EQ(proxy.SetAnnotationList(QvAnnotationComment, mixed, 2), QV_E_INVALIDARG);
    EXPECT_EQ(proxy.SetAnnotationList(third, nullptr, 0), QV_E_INVALIDARG);
    EXPECT_EQ(proxy.GetAnnotationList(third, &list, nullptr), QV_E_INVALIDARG);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(proxy.GetAnnotationList(QvAnnotationPosition, &list, nullptr), QV_E_FAIL);
    EXPECT_EQ((std::vector<Note>{{1, 2, 3, "a"}}), Notes(QvAnnotationComment));
    EXPECT_EQ(CBookAnnotationListProxy::NewList(third, 1), nullptr);
}

TEST_F(AnnotationListTest, DamagedRecordsReadPassOverWhatIsDamagedAndKeepWithinTheRecord) {
    const std::string good = '\0' + Numbers, foreign = '\1' + Numbers;
    WriteAndOpen(
        {{6, 1, Le32(9) + good + foreign + good},
         {6, 1, "abc"},
         {6, 1, Le32(0xFFFFFFFF) + good + good.substr(0, 12)},
         {6, 2, Le32(1) + good},
         {7, 1, Le32(0x12345678) + good + "one" + '\0' + foreign + "two" + '\0' + good + "x"},
         {7, 1, Le32(2) + good + '\0' + good}});
    EXPECT_EQ((std::vector<Note>(3, {3, 0x102, 4, ""})), Notes(QvAnnotationRange));
    EXPECT_EQ((std::vector<Note>{{3, 0x102, 4, "one"}, {3, 0x102, 4, ""}}),
              Notes(QvAnnotationComment));
}

} // namespace
