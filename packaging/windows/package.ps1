# Creates Quillmarch_v<version>_Windows.zip, a portable archive. NOT TESTED: the
# project is developed on Debian, and nobody has run this script yet.
#
# In a "Developer PowerShell for VS 2022", with CMake, Ninja and Qt 6.4 or later:
#
#     packaging\windows\package.ps1 -Qt C:\Qt\6.4.3\msvc2019_64
#
# Pass the zip file to tools/release as --package windows=FILE.
param(
    [Parameter(Mandatory = $true)][string]$Qt,
    [string]$Build = "build/windows"
)
$ErrorActionPreference = "Stop"

function Invoke-Step {
    $command, $arguments = $args
    & $command @arguments
    if ($LASTEXITCODE -ne 0) { throw "$command failed" }
}

$root = (Resolve-Path "$PSScriptRoot/../..").Path
Set-Location $root
$found = Select-String -Path CMakeLists.txt -Pattern '^\s+VERSION ([0-9.]+)$'
$version = $found.Matches[0].Groups[1].Value
$stage = "$Build/Quillmarch"
$package = "$Build/packages/Quillmarch_v${version}_Windows.zip"

Invoke-Step cmake -S . -B $Build -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=$Qt" `
    -DQUILLMARCH_TESTS=OFF -DQUILLMARCH_BENCH=OFF -DQUILLMARCH_TOOLS=OFF
Invoke-Step cmake --build $Build
if (Test-Path $stage) { Remove-Item -Recurse $stage }
Invoke-Step cmake --install $Build --component portable --prefix $stage
# Copies libraries, plugins and the compiler's runtime beside the program. The image
# formats of the "Qt Image Formats" and "Qt SVG" modules are included if these are
# installed.
Invoke-Step "$Qt/bin/windeployqt.exe" --release --compiler-runtime --no-translations "$stage/quillmarch.exe"

New-Item -ItemType Directory -Force "$Build/packages" | Out-Null
if (Test-Path $package) { Remove-Item $package }
Compress-Archive -Path $stage -DestinationPath $package
Write-Output "==> $package"
