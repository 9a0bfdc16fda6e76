#include "samples/SampleTexts.h"

namespace {

constexpr std::string_view kGivenNames[] = {
    "Alice",  "Amélie",  "Arthur", "Beatrix", "Bruno",  "Carla",  "Cedric",    "Clara",  "Dario", "Dorothy",
    "Edith",  "Emil",    "Esme",   "Fergus",  "Freya",  "Gideon", "Greta",     "Hamish", "Hanna", "Hugo",
    "Ida",    "Imogen",  "Ines",   "Jasper",  "Joan",   "Jonas",  "Josephine", "Kai",    "Katja", "Lars",
    "Leonie", "Lorenzo", "Lucy",   "Mabel",   "Magnus", "Marta",  "Matteo",    "Mina",   "Nadia", "Niall",
    "Nora",   "Olive",   "Oskar",  "Paloma",  "Percy",  "Petra",  "Quentin",   "Rafael", "Rosa",  "Rupert",
    "Selma",  "Soren",   "Stella", "Tamsin",  "Theo",   "Tilda",  "Ursula",    "Viktor", "Wanda", "Zoë"};

constexpr std::string_view kFamilyNames[] = {
    "Abbott",    "Adler",     "Almeida",  "Ashdown",  "Bancroft",  "Barnaby",   "Becker",   "Bellamy",
    "Bianchi",   "Blom",      "Bramley",  "Calloway", "Castell",   "Chandler",  "Corbett",  "Dahl",
    "Delacroix", "Dunmore",   "Eklund",   "Elsworth", "Fairley",   "Ferrante",  "Finch",    "Garrick",
    "Grünwald",  "Hale",      "Hartwell", "Holm",     "Iversen",   "Jansen",    "Kellaway", "Kessler",
    "Lindqvist", "Lockhart",  "Marlowe",  "Meadows",  "Moreau",    "Navarro",   "Nyström",  "Oakes",
    "Okafor",    "Pemberton", "Pereira",  "Quigley",  "Radley",    "Ravenhill", "Rossi",    "Sandoval",
    "Sayer",     "Schäfer",   "Thorne",   "Tillman",  "Underhill", "Vance",     "Verlaine", "Wainwright",
    "Weller",    "Whitlock",  "Yardley",  "Zeller"};

constexpr std::string_view kOrganisations[] = {"Harbour Street Bakery",
                                               "Bramble & Finch Books",
                                               "Northgate Cycles",
                                               "Lantern Theatre",
                                               "Quayside Architects",
                                               "Willow Lane School",
                                               "Fernhill Veterinary Practice",
                                               "Copper Kettle Café",
                                               "Meridian Printing Co.",
                                               "Three Oaks Joinery",
                                               "Bluebird Travel",
                                               "Saltmarsh Sailing Club"};

constexpr std::string_view kJobTitles[] = {
    "Baker", "Bookseller",   "Engineer",    "Stage Manager", "Architect",  "Teacher",
    "Vet",   "Head Barista", "Typographer", "Joiner",        "Tour Guide", "Head of Sales, Europe & Africa"};

constexpr std::string_view kStreets[] = {
    "Harbour Street", "Station Road", "Mill Lane",    "Church Walk",   "Orchard Close", "Elm Avenue",
    "Quarry Hill",    "The Maltings", "Lantern Yard", "River Terrace", "Beacon Street", "Old Ferry Road"};

constexpr std::string_view kCities[] = {"Little Marsham",  "Fernhaven", "Port Averil", "Stonebridge",
                                        "Upper Wickfield", "Eastmere",  "Larkford",    "Saltmarsh"};

constexpr std::string_view kNotes[] = {
    "Met at the sailing club.\nLikes strong tea; allergic to nuts.",
    "Spare key is under the blue pot.",
    "Birthday present ideas:\n- a good pen\n- the big atlas\n- \"anything but socks\"",
    "Call after 6 pm only.\n\nDoor code 0000 (not really).",
    "Neighbour of the Ashdowns; waters our plants in August.",
    "Knows everything about bicycles & clocks."};

}  // namespace

namespace PDXSampleTexts {

Texts givenNames() { return kGivenNames; }
Texts familyNames() { return kFamilyNames; }
Texts organisations() { return kOrganisations; }
Texts jobTitles() { return kJobTitles; }
Texts streets() { return kStreets; }
Texts cities() { return kCities; }
Texts notes() { return kNotes; }

}  // namespace PDXSampleTexts
