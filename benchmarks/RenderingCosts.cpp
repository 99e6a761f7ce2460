#include <stdexcept>

#include "benchmarks/Figures.h"
#include "support/MString.h"

namespace kandora::benchmarks {

using cost_tests::MetaData;

void MeasureRendering(Figures& figures) {
    const MetaData metaData(L"1001", L"1", L"4711");
    const Variant value(metaData.Value());
    constexpr int arrays = 1000;
    std::size_t length = 0;
    const auto append = [&] {
        Text text;
        const auto* const elements = static_cast<const VARIANT*>(value.Raw().parray->pvData);
        for (ULONG i = 0; i < value.Raw().parray->rgsabound[0].cElements; ++i) {
            text.append(elements[i].bstrVal, SysStringLen(elements[i].bstrVal));
        }
        length += text.size();
    };
    figures.Add(Compared(
                    "rendering metadata arrays / one append per element",
                    shortRounds * figures.Rounds(figures.Given().rounds), arrays,
                    [&] { length += ToText(value).size(); }, append),
                Row::Aim::AtMost, 2.0);
    if (length == 0) {
        throw std::runtime_error("nothing was rendered");
    }
}

}  // namespace kandora::benchmarks
