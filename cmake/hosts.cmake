# The hosts that the program connects to, and its organization domain. The defaults
# are reserved names that nobody can register; a release sets real ones.
set(QUILLMARCH_UPDATE_DOCUMENT_HOST "https://updates.quillmarch.example" CACHE STRING
    "Scheme and host of the release documents")
set(QUILLMARCH_SERVICE_HOST "https://service.quillmarch.example" CACHE STRING
    "Scheme and host of the check endpoint")
set(QUILLMARCH_PACKAGE_HOST "https://packages.quillmarch.example" CACHE STRING
    "Scheme and host of the packages")
set(QUILLMARCH_WEB_SITE "https://www.quillmarch.example" CACHE STRING
    "Address of the product's web site, shown in the about dialog")
set(QUILLMARCH_CONTACT "support@quillmarch.example" CACHE STRING
    "Contact handle, shown in the about dialog")
set(QUILLMARCH_ORGANIZATION_DOMAIN "quillmarch.example" CACHE STRING
    "Organization domain of the application")
