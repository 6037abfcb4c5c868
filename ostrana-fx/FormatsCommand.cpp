#include "FormatsCommand.h"

#include <sndfile.h>

#include <string>
#include <vector>

#include "SoundFileFormat.h"
#include "TextList.h"

namespace ostrana::fx {

void FormatsCommand::run(std::ostream& out) {
    out << "Extensions render writes (OUT's extension or --type), with the sample formats each\n"
           "holds (--format; the compressed ones are chosen by the extension):\n";
    for (const std::string& extension : SoundFileFormat::containerNames()) {
        const int container = SoundFileFormat::containerFor(extension);
        const std::vector<std::string> encodings = SoundFileFormat::encodingsOf(
            container, SoundFileFormat::encodingForPath("", extension));
        if (encodings.empty()) continue;
        std::string name = extension;
        name.resize(std::max<std::size_t>(name.size(), 6), ' ');
        out << "  " << name << "  " << SoundFileFormat::containerName(container) << ": "
            << TextList::join(encodings) << "\n";
    }
}

}  // namespace ostrana::fx
