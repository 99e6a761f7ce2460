#include "simulators/common/CallFailure.h"

#include <exception>
#include <new>

#include "interfaces/CodePages.h"
#include "simulators/common/Failure.h"

namespace kandora::simulators {

FailedCall DescribeCurrentException(const std::wstring& defaultSource) {
    FailedCall failed;
    failed.source = defaultSource;
    try {
        throw;
    } catch (const AutomationError& error) {
        const bool isClassicNumber = error.Number() >= 1 && error.Number() <= 0xFFFF;
        failed.code = DISP_E_EXCEPTION;
        failed.number = isClassicNumber
                            ? static_cast<std::int32_t>(0x800A0000U | static_cast<unsigned>(error.Number()))
                            : error.Number();
        failed.description = error.Description();
        if (!error.Source().empty()) {
            failed.source = error.Source();
        }
    } catch (const ArgumentError& error) {
        failed.code = error.Code();
        failed.argument = error.Index();
        failed.namesArgument = true;
    } catch (const HresultError& error) {
        failed.code = error.Code();
    } catch (const Failure& error) {
        failed.code = DISP_E_EXCEPTION;
        failed.number = E_FAIL;
        failed.description = error.Message();
    } catch (const std::bad_alloc&) {
        failed.code = E_OUTOFMEMORY;
    } catch (const std::exception& error) {
        failed.code = DISP_E_EXCEPTION;
        failed.number = E_FAIL;
        failed.description = TextFromUtf8(error.what());
    } catch (...) {
        failed.code = E_UNEXPECTED;
    }
    return failed;
}

}  // namespace kandora::simulators
