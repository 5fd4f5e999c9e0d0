#pragma once
// Makers of the filters that sections pass through. Applications derive from the two classes, one for each direction:
// what the write filter stores, the read filter turns back into plain content. A filter may change the size.
//
//     class Shrink : public FS_WriteFilterFactory {
//         UT_StreamBufferFilter* createBufferFilter() override { return new ShrinkFilter; }
//         FS_WriteFilterFactory* clone() override { return new Shrink(*this); }
//         bool isCompatible(FS_IStreamFilterFactory* other) override { return dynamic_cast<Grow*>(other) != nullptr; }
//     };
//
// Whoever stores a factory stores a clone of it; a factory that is passed in is only borrowed.
#include <UT/UT_Export.h>

class UT_IStream;
class UT_StreamBufferFilter;
class FS_IStreamFilterFactory;

// Makes the filters that turn plain content into what is stored.
class TARVANI_EXPORT FS_WriteFilterFactory {
public:
    virtual ~FS_WriteFilterFactory();

    // A new filter, owned by the caller. One is made for each section written.
    virtual UT_StreamBufferFilter* createBufferFilter() = 0;
    // A copy of this factory, owned by the caller.
    virtual FS_WriteFilterFactory* clone() = 0;
    // The stored size of content of `size` bytes, or -1 where only filtering tells, as here.
    virtual int getFilteredSize(int size);
    // Whether this factory and `other` are a pair. Asked before the two are used together.
    virtual bool isCompatible(FS_IStreamFilterFactory* other) = 0;
};

// Makes the streams that turn what is stored back into plain content.
class TARVANI_EXPORT FS_IStreamFilterFactory {
public:
    virtual ~FS_IStreamFilterFactory();

    // A new stream, owned by the caller, that gives the plain content of what `source` holds from where it stands. It
    // must stay readable after `source` has been deleted: a window on UT_IStream::getSource does, `source` itself not.
    virtual UT_IStream* createFilteredStream(UT_IStream* source) const = 0;
    // A copy of this factory, owned by the caller.
    virtual FS_IStreamFilterFactory* clone() = 0;
    // The plain size of a section of `sectionSize` stored bytes, of which `source` stands at the first; negative if
    // there is none. May read from `source` and leave it anywhere.
    virtual int getUnfilteredSize(UT_IStream* source, int sectionSize) = 0;
};
