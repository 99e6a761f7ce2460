"""What Windows Installer brings itself: actions with their order, properties, events of windows, folders."""

# In the order in which they may follow each other; those of one group in any order.
ORDER = (
    "AppSearch", "LaunchConditions", "FindRelatedProducts", "CCPSearch", "RMCCPSearch", "ValidateProductID", "CostInitialize",
    "FileCost", "IsolateComponents", "CostFinalize", "SetODBCFolders", "MigrateFeatureStates", "ExecuteAction",
    "InstallValidate", "InstallInitialize", "AllocateRegistrySpace", "ProcessComponents", "UnpublishComponents",
    "UnpublishFeatures", "StopServices", "DeleteServices", "UnregisterComPlus", "SelfUnregModules", "UnregisterTypeLibraries",
    "RemoveODBC", "UnregisterFonts", "RemoveRegistryValues", "UnregisterClassInfo", "UnregisterExtensionInfo",
    "UnregisterProgIdInfo", "UnregisterMIMEInfo", "RemoveIniValues", "RemoveShortcuts", "RemoveEnvironmentStrings",
    "RemoveDuplicateFiles", "RemoveFiles", "RemoveFolders", "CreateFolders", "InstallAdminPackage", "MoveFiles", "InstallFiles",
    "PatchFiles", "DuplicateFiles", "BindImage", "CreateShortcuts", "RegisterClassInfo", "RegisterExtensionInfo",
    "RegisterProgIdInfo", "RegisterMIMEInfo", "WriteRegistryValues", "WriteIniValues", "WriteEnvironmentStrings",
    "RegisterFonts", "InstallODBC", "RegisterTypeLibraries", "SelfRegModules", "RegisterComPlus", "InstallServices",
    "StartServices", "RegisterUser", "RegisterProduct", "PublishComponents", "MsiPublishAssemblies", "PublishFeatures",
    "PublishProduct", "InstallFinalize")
# Wherever these stand: the first of the sequence, in any order.
SEARCHES = {"AppSearch", "LaunchConditions", "FindRelatedProducts"}
# After InstallValidate, and not between what makes the script and its end.
REMOVES_OTHERS = "RemoveExistingProducts"
ACTIONS = {*ORDER, REMOVES_OTHERS, "ScheduleReboot", "ForceReboot", "ResolveSource", "DisableRollback", "InstallExecute"}

REQUIRED = {
    "InstallUISequence": {"CostInitialize", "FileCost", "CostFinalize", "ExecuteAction"},
    "AdminUISequence": {"CostInitialize", "FileCost", "CostFinalize", "ExecuteAction"},
    "InstallExecuteSequence": {
        "CostInitialize", "FileCost", "CostFinalize", "InstallValidate", "InstallInitialize", "ProcessComponents",
        "UnpublishFeatures", "RegisterUser", "RegisterProduct", "PublishFeatures", "PublishProduct", "InstallFinalize",
        "FindRelatedProducts", "RemoveExistingProducts", "MigrateFeatureStates"},
    "AdminExecuteSequence": {"CostInitialize", "FileCost", "CostFinalize", "InstallValidate", "InstallInitialize",
                             "InstallAdminPackage", "InstallFiles", "InstallFinalize"},
    "AdvtExecuteSequence": {"CostInitialize", "CostFinalize", "InstallValidate", "InstallInitialize", "PublishFeatures",
                            "PublishProduct", "InstallFinalize"},
}
# Nothing else is allowed when a package is only announced.
ADVERTISING = REQUIRED["AdvtExecuteSequence"] | {"CreateShortcuts", "RegisterClassInfo", "RegisterExtensionInfo",
                                                 "RegisterMIMEInfo", "RegisterProgIdInfo", "MsiPublishAssemblies",
                                                 "PublishComponents"}
# The action that does the work of a table, in a sequence that installs.
WORKERS = {"CreateFolder": ("CreateFolders", "RemoveFolders"), "File": ("InstallFiles", "RemoveFiles"),
           "Registry": ("WriteRegistryValues", "RemoveRegistryValues"), "RemoveFile": ("RemoveFiles",),
           "AppSearch": ("AppSearch",), "LaunchCondition": ("LaunchConditions",), "Upgrade": ("FindRelatedProducts",)}

PROPERTIES = {
    "ALLUSERS", "Installed", "MSIINSTALLPERUSER", "OutOfDiskSpace", "OutOfNoRbDiskSpace", "Preselected", "ProductCode",
    "ProductName", "ProductVersion", "REINSTALLMODE", "REINSTALL", "REMOVE", "RESUME", "UPGRADINGPRODUCTCODE", "VersionNT",
    "VersionNT64", "LocalAppDataFolder", "ProgramFilesFolder", "ProgramFiles64Folder", "Privileged", "TARGETDIR", "Time",
    "Date", "ARPINSTALLLOCATION", "ARPHELPLINK", "FileInUseProcess"}
REQUIRED_PROPERTIES = ("ProductName", "ProductVersion", "ProductCode", "ProductLanguage", "Manufacturer", "UpgradeCode")
# Of the user interface.
EVENTS = {"DirectoryListNew", "DirectoryListOpen", "DirectoryListUp", "EndDialog", "NewDialog", "Reinstall", "ReinstallMode",
          "Remove", "Reset", "SetTargetPath", "SpawnDialog", "SpawnWaitDialog", "AddLocal", "DoAction", "CheckTargetPath"}
PUBLISHED_EVENTS = {"ActionText", "ActionData", "SetProgress", "TimeRemaining", "SelectionDescription", "ScriptInProgress"}
END_ARGUMENTS = {"Exit", "Retry", "Ignore", "Return", "ErrorOk", "ErrorCancel", "ErrorAbort", "ErrorRetry", "ErrorIgnore",
                 "ErrorYes", "ErrorNo"}
CONTROLS = {"Billboard", "Bitmap", "CheckBox", "ComboBox", "DirectoryCombo", "DirectoryList", "Edit", "GroupBox", "Icon",
            "Line", "ListBox", "ListView", "MaskedEdit", "PathEdit", "ProgressBar", "PushButton", "RadioButtonGroup",
            "ScrollableText", "SelectionTree", "Text", "VolumeCostList", "VolumeSelectCombo"}
# What goes on by itself, and what must have a property.
PASSIVE_CONTROLS = {"Text", "Line", "Bitmap", "Icon", "ProgressBar", "GroupBox", "Billboard", "VolumeCostList"}
PROPERTY_CONTROLS = {"CheckBox", "DirectoryCombo", "DirectoryList", "Edit", "PathEdit", "RadioButtonGroup", "ListBox"}
REQUIRED_WINDOWS = {"FilesInUse"}
