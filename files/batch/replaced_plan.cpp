// SPDX-License-Identifier: BSD-3-Clause
// replaced_plan.cpp -- a plan that another is to replace
#include "files/batch/replaced_plan.h"

#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_head.h"

namespace tools {

replaced_plan::replaced_plan(const std::string &folder) {
    const std::string name = folder + "/manifest.json";
    try {
        file = std::make_shared<manifest_file>(name);
        long long begin = 0;
        const ordered_json head = json_of_text(text_of_head(*file, begin) + " \"end\": 0 }", name);
        const head_items items(head, name);
        items.whole("format", 1, batch_format);
        if (!items.text("program").starts_with("varokel-batch "))
            items.refuse("program", "another");
        for (const auto &entry : items.list("entries"))
            if (entry.is_string()) entry_names.push_back(entry.get<std::string>());
        for (const auto &each : items.list("patterns"))
            pattern_files.push_back(head_items(each, name).name("file"));
    } catch (const tool_error &error) {
        if (error.status() == bad_output) throw;
        throw tool_error(bad_output, name +
                                         ": not the manifest of a plan of varokel-batch; choose "
                                         "another folder (" +
                                         std::string(error.what()) + ")");
    }
    if (!file->lock_alone())
        throw tool_error(bad_output, name + ": a run or a merge works with this plan; wait for its "
                                            "end, or end it first");
}

} // namespace tools
