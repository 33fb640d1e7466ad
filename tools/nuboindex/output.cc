// Errors in one form.
#include "output.h"

#include "printable.h"

int Complain(const Output &output, std::string_view message)
{
    output.err << "nuboindex: " << PrintableText(message) << '\n';
    return TOOL_FAILED;
}
