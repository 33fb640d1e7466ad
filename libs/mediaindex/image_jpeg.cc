// JPEG headers through libjpeg, up to the frame's size. Large segments (previews, profiles) are stepped over
// without being read. No object with a destructor lives across the jumps of the error handler.
#include <errno.h>
#include <setjmp.h>
#include <stddef.h>
#include <stdio.h>
#include <sys/types.h>
#include <unistd.h>

#include <jpeglib.h>

#include "mediaindex/image_header.h"

static constexpr size_t READ_SIZE = 4096;
static constexpr size_t READ_LIMIT = 4 << 20;  // a header of more small segments than this is no picture's

struct JpegErrors {
    jpeg_error_mgr manager;
    jmp_buf jump;
};

struct JpegSource {
    jpeg_source_mgr manager;
    int fd;
    size_t total;
    JOCTET buffer[READ_SIZE];
};

[[noreturn]] static void OnError(j_common_ptr common)
{
    longjmp(reinterpret_cast<JpegErrors *>(common->err)->jump, 1);
}

static void OnMessage(j_common_ptr, int)
{
}

static void OnOutput(j_common_ptr)
{
}

static void SourceNothing(j_decompress_ptr)
{
}

static boolean SourceFill(j_decompress_ptr jpeg)
{
    JpegSource *source = reinterpret_cast<JpegSource *>(jpeg->src);
    ssize_t length = source->total < READ_LIMIT ? read(source->fd, source->buffer, READ_SIZE) : 0;
    if (length <= 0)
        OnError(reinterpret_cast<j_common_ptr>(jpeg));
    source->total += static_cast<size_t>(length);
    source->manager.next_input_byte = source->buffer;
    source->manager.bytes_in_buffer = static_cast<size_t>(length);
    return TRUE;
}

static void SourceSkip(j_decompress_ptr jpeg, long count)
{
    JpegSource *source = reinterpret_cast<JpegSource *>(jpeg->src);
    if (count <= 0)
        return;
    size_t wanted = static_cast<size_t>(count);
    if (wanted <= source->manager.bytes_in_buffer) {
        source->manager.next_input_byte += wanted;
        source->manager.bytes_in_buffer -= wanted;
        return;
    }
    wanted -= source->manager.bytes_in_buffer;
    source->manager.bytes_in_buffer = 0;
    if (lseek(source->fd, static_cast<off_t>(wanted), SEEK_CUR) < 0)
        OnError(reinterpret_cast<j_common_ptr>(jpeg));
}

static int HeaderRead(j_decompress_ptr jpeg, JpegErrors *errors, PixelSize *size)
{
    if (setjmp(errors->jump))
        return -1;
    if (jpeg_read_header(jpeg, TRUE) != JPEG_HEADER_OK)
        return -1;
    size->width = jpeg->image_width;
    size->height = jpeg->image_height;
    return 0;
}

int JpegSizeRead(int fd, const char *, PixelSize *size)
{
    JpegErrors errors;
    jpeg_decompress_struct jpeg;
    JpegSource source;
    jpeg.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = OnError;
    errors.manager.emit_message = OnMessage;
    errors.manager.output_message = OnOutput;
    if (setjmp(errors.jump))
        return -1;
    jpeg_create_decompress(&jpeg);

    source.fd = fd;
    source.total = 0;
    source.manager = {nullptr, 0, SourceNothing, SourceFill, SourceSkip, jpeg_resync_to_restart, SourceNothing};
    jpeg.src = &source.manager;
    int result = HeaderRead(&jpeg, &errors, size);
    jpeg_destroy_decompress(&jpeg);
    return result;
}
